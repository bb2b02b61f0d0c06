#!/usr/bin/env python3
"""The lists of puzzles, from the package's description of its build.

lists.py SOURCE OUT writes OUT/names, one puzzle a word; OUT/generated-games.h, which the package's
list.c is made for; and OUT/generated-catalogue.h with each puzzle's name and what it is about.
A file that would not change is left alone.
"""
import pathlib
import re
import sys


def puzzles(text):
    """Yields (id, fields) of each puzzle(...) that has a name for players."""
    for match in re.finditer(r'^puzzle\((\w+)(.*?)\)\n(?=\S|\n)', text, re.M | re.S):
        body = re.sub(r'#.*', '', match.group(2)).replace('\\\n', '')
        fields = dict(re.findall(r'(\w+)\s+"([^"]*)"', body))
        if 'DISPLAYNAME' in fields:
            yield match.group(1), fields


def write(path, text):
    if not path.exists() or path.read_text() != text:
        path.write_text(text)


def main():
    source, out = map(pathlib.Path, sys.argv[1:3])
    found = list(puzzles((source / 'CMakeLists.txt').read_text()))
    if not found:
        sys.exit('lists.py: CMakeLists.txt names no puzzles')
    write(out / 'names', ''.join(name + '\n' for name, _ in found))
    write(out / 'generated-games.h', ''.join('GAME(%s)\n' % name for name, _ in found))
    rows = ['PUZZLE(%s, "%s", "%s", "%s")\n' % (
        name, f['DISPLAYNAME'], f['DESCRIPTION'], f['OBJECTIVE']) for name, f in found]
    write(out / 'generated-catalogue.h', ''.join(rows))


main()
