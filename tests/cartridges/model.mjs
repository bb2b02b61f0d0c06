// A second implementation of the console, for the tests: it runs a cartridge in Node.js and writes its
// 64 KiB of memory after a number of frames. It draws a pixel at a time and is written to be read.
//
// usage: node model.mjs CARTRIDGE.wasm FONT.h FRAMES MEMORY.bin [FRAME:ADDRESS=BYTE[,BYTE...]...]
//
// FRAME:ADDRESS=BYTES writes input bytes from that frame (counted from 0) on, before update is called.
// What a cartridge traces goes to standard output; the saved block starts empty.

import fs from 'node:fs';

const [cartridge, fontFile, frameCount, output, ...inputs] = process.argv.slice(2);

const font = [...fs.readFileSync(fontFile, 'utf8').matchAll(/\{((?:0x[0-9A-F]{2}(?:, )?){8})\}/g)].map(
    (row) => row[1].split(', ').map(Number));

let memory = new WebAssembly.Memory({initial: 1, maximum: 1});
let bytes = new Uint8Array(memory.buffer);

const kPicture = 0xA0;
let disk = [];

function plot(value, x, y) {
    if (x < 0 || y < 0 || x >= 160 || y >= 160) return;
    const index = y * 160 + x;
    const shift = 2 * (index % 4);
    const at = kPicture + Math.floor(index / 4);
    bytes[at] = (bytes[at] & ~(3 << shift)) | (value << shift);
}

// Draw colour n, from 1: the value to draw, or null.
function colour(n) {
    const nibble = ((bytes[0x14] | (bytes[0x15] << 8)) >> (4 * (n - 1))) & 15;
    return nibble === 0 ? null : (nibble - 1) & 3;
}

function nibble(n) {
    return ((bytes[0x14] | (bytes[0x15] << 8)) >> (4 * (n - 1))) & 15;
}

function line(x1, y1, x2, y2) {
    const value = colour(1);
    if (value === null) return;
    if (y1 > y2) [x1, y1, x2, y2] = [x2, y2, x1, y1];
    const dx = Math.abs(x2 - x1);
    const dy = y2 - y1;
    let error = Math.trunc((dx > dy ? dx : -dy) / 2);
    for (;;) {
        plot(value, x1, y1);
        if (x1 === x2 && y1 === y2) return;
        const e = error;
        if (e > -dx) {
            error -= dy;
            x1 += x1 < x2 ? 1 : -1;
        }
        if (e < dy) {
            error += dx;
            y1 += 1;
        }
    }
}

function fillRow(value, from, y, end) {
    for (let x = Math.max(from, 0); x < Math.min(end, 160); x++) plot(value, x, y);
}

function fillColumn(value, x, from, end) {
    for (let y = Math.max(from, 0); y < Math.min(end, 160); y++) plot(value, x, y);
}

function rect(x, y, width, height) {
    const fill = colour(1);
    const outline = colour(2);
    if (fill !== null) {
        for (let row = Math.max(y, 0); row < Math.min(y + height, 160); row++) fillRow(fill, x, row, x + width);
    }
    if (outline !== null) {
        fillColumn(outline, x, y, y + height);
        fillColumn(outline, x + width - 1, y, y + height);
        fillRow(outline, x, y, x + width);
        fillRow(outline, x, y + height - 1, x + width);
    }
}

function oval(x, y, width, height) {
    const fill = colour(1);
    if (nibble(2) === 15) return;
    const value = (nibble(2) + 3) & 3;
    const a = width - 1;
    const b = height - 1;
    const b1 = b % 2;
    let north = y + Math.trunc(height / 2);
    let west = x;
    let east = x + width - 1;
    let south = north - b1;
    let dx = 4 * (1 - a) * b * b;
    let dy = 4 * (b1 + 1) * a * a;
    let error = dx + dy + b1 * a * a;
    do {
        plot(value, east, north);
        plot(value, west, north);
        plot(value, west, south);
        plot(value, east, south);
        if (fill !== null && east - west - 1 > 0) {
            fillRow(fill, west + 1, north, east);
            fillRow(fill, west + 1, south, east);
        }
        const e2 = 2 * error;
        if (e2 <= dy) {
            north++;
            south--;
            dy += 8 * a * a;
            error += dy;
        }
        if (e2 >= dx || e2 > dy) {
            west++;
            east--;
            dx += 8 * b * b;
            error += dx;
        }
    } while (west <= east);
    while (north - south < height) {
        plot(value, west - 1, north);
        plot(value, east + 1, north++);
        plot(value, west - 1, south);
        plot(value, east + 1, south--);
    }
}

// Draws a picture whose bits `bitAt(index)` gives, `bits` of them a pixel.
function picture(valueAt, x, y, width, height, sourceX, sourceY, stride, flags) {
    const rotate = (flags & 8) !== 0;
    const flipX = ((flags & 2) !== 0) !== rotate;
    const flipY = (flags & 4) !== 0;
    for (let row = 0; row < height; row++) {
        const targetRow = rotate ? x + row : y + row;
        if (targetRow < 0 || targetRow >= 160) continue;
        for (let column = 0; column < width; column++) {
            const targetX = rotate ? x + row : x + column;
            const targetY = rotate ? y + column : y + row;
            if (targetX < 0 || targetY < 0 || targetX >= 160 || targetY >= 160) continue;
            const fromX = sourceX + (flipX ? width - 1 - column : column);
            const fromY = sourceY + (flipY ? height - 1 - row : row);
            const value = colour(valueAt((fromY * stride + fromX) >>> 0) + 1);
            if (value !== null) plot(value, targetX, targetY);
        }
    }
}

function blitSub(address, x, y, width, height, sourceX, sourceY, stride, flags) {
    const two = (index) => (byteAt((address >>> 0) + Math.floor(index / 4)) >> (6 - 2 * (index % 4))) & 3;
    const one = (index) => (byteAt((address >>> 0) + Math.floor(index / 8)) >> (7 - (index % 8))) & 1;
    picture(flags & 1 ? two : one, x, y, width, height, sourceX, sourceY, stride, flags);
}

function byteAt(address) {
    return address < 65536 ? bytes[address] : 0;
}

function* characters(address, count, unit) {
    for (let at = address >>> 0; count >= unit && at < 65536; count -= unit, at += unit) {
        const code = byteAt(at) | (unit === 2 ? byteAt(at + 1) << 8 : 0);
        if (code === 0) return;
        yield code;
    }
}

function text(address, count, unit, x, y) {
    let place = x;
    for (const code of characters(address, count, unit)) {
        if (code === 10) {
            place = x;
            y += 8;
            continue;
        }
        if (code >= 32 && code <= 255) {
            const glyph = font[code - 32];
            picture((index) => (glyph[index >> 3] >> (7 - (index & 7))) & 1, place, y, 8, 8, 0, 0, 8, 0);
        }
        place += 8;
    }
}

function say(words) {
    console.log(words);
}

function format(template, address) {
    let out = '';
    const codes = [...characters(template, Infinity, 1)];
    const view = new DataView(bytes.buffer);
    for (let i = 0; i < codes.length; i++) {
        const c = String.fromCharCode(codes[i]);
        if (c !== '%') {
            out += c;
            continue;
        }
        const kind = String.fromCharCode(codes[++i] ?? 0);
        if (kind === 'c') out += String.fromCharCode(view.getInt32(address, true));
        if (kind === 'd') out += view.getInt32(address, true);
        if (kind === 'x') out += view.getUint32(address, true).toString(16);
        if (kind === 's') out += Buffer.from([...characters(view.getUint32(address, true), Infinity, 1)]).toString('latin1');
        if (kind === 'f') out += view.getFloat64(address, true).toFixed(6);
        if (kind === '%') out += '%';
        if ('cdxs'.includes(kind)) address += 4;
        if (kind === 'f') address += 8;
    }
    return out;
}

const latin = (address, count, unit) => String.fromCharCode(...characters(address, count, unit));

const env = {
    memory,
    line,
    hline: (x, y, length) => colour(1) !== null && fillRow(colour(1), x, y, x + length),
    vline: (x, y, length) => colour(1) !== null && fillColumn(colour(1), x, y, y + length),
    rect,
    oval,
    blit: (address, x, y, width, height, flags) => blitSub(address, x, y, width, height, 0, 0, width, flags),
    blitSub,
    text: (address, x, y) => text(address, Infinity, 1, x, y),
    textUtf8: (address, count, x, y) => text(address, count >>> 0, 1, x, y),
    textUtf16: (address, count, x, y) => text(address, count >>> 0, 2, x, y),
    tone: () => {},
    diskr: (address, size) => {
        const count = Math.min(size >>> 0, disk.length);
        bytes.set(disk.slice(0, count), address);
        return count;
    },
    diskw: (address, size) => {
        disk = [...bytes.slice(address, address + Math.min(size >>> 0, 1024))];
        return disk.length;
    },
    trace: (address) => say(latin(address, Infinity, 1)),
    traceUtf8: (address, count) => say(latin(address, count >>> 0, 1)),
    traceUtf16: (address, count) => say(latin(address, count >>> 0, 2)),
    tracef: (template, address) => say(format(template, address)),
};

function prepare() {
    const view = new DataView(bytes.buffer);
    [0xe0f8cf, 0x86c06c, 0x306850, 0x071821].forEach((entry, i) => view.setUint32(4 + 4 * i, entry, true));
    view.setUint16(0x14, 0x1203, true);
    view.setInt16(0x1A, 0x7FFF, true);
    view.setInt16(0x1C, 0x7FFF, true);
}

prepare();
const module = await WebAssembly.instantiate(fs.readFileSync(cartridge), {env});
const {exports} = module.instance;
if (exports.memory) {
    throw new Error('a cartridge with a memory of its own is not for this model');
}
exports._initialize?.();
exports._start?.();
for (let frame = 0; frame < Number(frameCount); frame++) {
    for (const input of inputs) {
        const [when, place, values] = input.split(/[:=]/);
        if (frame >= Number(when)) bytes.set(values.split(',').map(Number), Number(place));
    }
    if (frame === 0) {
        exports.start?.();
    } else if ((bytes[0x1F] & 1) === 0) {
        bytes.fill(0, kPicture, kPicture + 6400);
    }
    exports.update?.();
}
fs.writeFileSync(output, bytes);
