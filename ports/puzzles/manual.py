#!/usr/bin/env python3
"""The package's manual as pages for the help: manual.py SOURCE OUT.

Reads puzzles.but and writes OUT/ID.txt for each puzzle's chapter, OUT/common.txt for what holds for
all of them, and OUT/licence.txt. A page is a paragraph a line; the first character says what it is:
'#' heading, '=' section, '*' point of a list, ':' term, '>' what is said about it, '|' a line that
keeps its blanks, ' ' anything else. Inside a paragraph \\x01 begins italic letters, \\x02 those of a
typewriter, \\x03 plain ones again.
"""
import pathlib
import re
import sys

ITALIC, TYPED, PLAIN = '\x01', '\x02', '\x03'


class Manual:
    def __init__(self, text):
        self.names = {}  # of chapters and sections, by their keywords
        self.links = {}  # of what the text refers to, by their keywords
        self.words = {'-': '\u2013'}
        self.pages = {}
        for block in re.split(r'\n\s*\n', text):
            match = re.match(r'\\[CHA]\{([\w-]+)\}\s*(.*)', block.strip(), re.S)
            if match:
                self.names[match.group(1)] = match.group(2)
            match = re.match(r'\\B\{([\w-]+)\}\s*\\W\{([^}]*)\}', block.strip())
            if match:
                self.links[match.group(1)] = match.group(2)
            match = re.match(r'\\define\{(\w+)\}\s*(\S+)', block.strip())
            if match:
                self.words[match.group(1)] = re.sub(
                    r'\\u([0-9A-Fa-f]{4})(\{.*\})?', lambda m: chr(int(m.group(1), 16)), match.group(2))

    def braces(self, text, at):
        """What stands in the braces that open at `at`, and where they end."""
        inner, at = '', at + 1
        while at < len(text) and text[at] != '}':
            if text[at] == '{':
                piece, at = self.braces(text, at)
                inner += '{' + piece + '}'
            else:
                if text[at] == '\\' and at + 1 < len(text):
                    inner += text[at]
                    at += 1
                inner += text[at]
                at += 1
        return inner, at + 1

    def command(self, name, text, at):
        """One command of the text: what it becomes, and where it ends."""
        inner = ''
        if at < len(text) and text[at] == '{':
            inner, at = self.braces(text, at)
        elif name in ('i', 'ii', 'I') and text[at:at + 1] == '\\':
            return '', at  # an index mark of the command that follows
        if name in ('I', 'K', 'cfg', 'IM', '#'):
            return '', at
        if name == 'W':
            return '', at  # the text of the link follows in braces of its own
        if name in ('e', 's'):
            return ITALIC + self.inline(inner) + PLAIN, at
        if name in ('c', 'cw'):
            return TYPED + self.inline(inner) + PLAIN, at
        if name == 'q':
            return '\u2018' + self.inline(inner) + '\u2019', at
        if name == 'cq':
            return '\u2018' + TYPED + self.inline(inner) + PLAIN + '\u2019', at
        if name == 'k' and inner in self.links:
            return '(' + TYPED + self.links[inner] + PLAIN + ')', at
        if name == 'k':
            title = self.inline(self.names.get(inner, inner))
            return '\u201c' + re.sub('[\x01-\x03]', '', title) + '\u201d', at
        if name in self.words:
            return self.words[name], at
        return self.inline(inner), at

    def inline(self, text):
        out, at = '', 0
        while at < len(text):
            if text[at] != '\\':
                if text[at] not in '{}':
                    out += text[at]
                at += 1
                continue
            code = re.match(r'\\u([0-9A-Fa-f]{4})(\{[^}]*\})?', text[at:])
            if code:
                out += chr(int(code.group(1), 16))
                at += code.end()
                continue
            name = re.match(r'\\([A-Za-z]+|.)', text[at:], re.S)
            at += name.end()
            word = name.group(1)
            if word[0].isalpha() or word == '#':
                piece, at = self.command(word, text, at)
                out += piece
            elif word in '\\{}':
                out += word
            elif word == '_':
                out += '\u00a0'
            elif word == '-':
                out += '-'
        return out

    def clean(self, text):
        return re.sub(r'\s+', ' ', self.inline(text)).strip()

    def read(self, text):
        """Yields (kind, text) of each paragraph; a chapter comes as ('chapter', keyword, title)."""
        code, inset = [], 0
        for block in re.split(r'\n[ \t]*\n', text):
            block = block.strip('\n')
            if block.startswith('\\lcont{'):
                inset += 1
                block = block[len('\\lcont{'):].lstrip('\n')
            closes = block.rstrip().endswith('}') and block.count('{') < block.count('}')
            if closes:
                block = block.rstrip()[:-1].rstrip()
            yield from self.block(block, inset)
            if closes:
                inset -= 1

    def block(self, block, inset):
        if not block.strip() or re.match(r'\\(cfg|IM|define|title|#|B|versionid)\b', block):
            return
        if block.startswith('\\#'):
            return
        match = re.match(r'\\([CHAS])\{([\w-]+)\}(?:\{[^}]*\})?\s*(.*)', block, re.S)
        if match:
            if match.group(1) in 'CA':
                yield 'chapter', match.group(2), self.clean(match.group(3))
            else:
                yield '=', self.clean(match.group(3))
            return
        if re.match(r'\\c[ \n]', block):
            for line in block.split('\n'):
                line = re.sub(r'^\\[ce] ?', '', line)
                yield '|', line.replace('\\\\', '\\').replace('\\{', '{').replace('\\}', '}')
            return
        for sign, kind in (('\\dt', ':'), ('\\dd', '>'), ('\\b', '*'), ('\\n', '*')):
            if re.match(re.escape(sign) + r'(?![A-Za-z])', block):
                yield kind, self.clean(block[len(sign):])
                return
        text = self.clean(block)
        if text:
            yield '>' if inset else ' ', text


def main():
    source, out = map(pathlib.Path, sys.argv[1:3])
    text = (source / 'puzzles.but').read_text(encoding='utf-8')
    ids = set((source / 'icons').glob('*.sav'))
    ids = {path.stem for path in ids} | {'common', 'licence'}
    manual = Manual(text)
    renamed = {'rectangles': 'rect'}
    page = None
    for piece in manual.read(text):
        if piece[0] == 'chapter':
            name = renamed.get(piece[1], piece[1])
            page = manual.pages.setdefault(name, []) if name in ids else None
            if page is not None:
                page.append('#' + piece[2])
        elif page is not None:
            page.append(piece[0] + piece[1])
    missing = ids - set(manual.pages) - {'nullgame'}
    if missing:
        sys.exit('manual.py: the manual has no chapter on ' + ', '.join(sorted(missing)))
    for name, lines in manual.pages.items():
        (out / (name + '.txt')).write_text('\n'.join(lines) + '\n', encoding='utf-8')


main()
