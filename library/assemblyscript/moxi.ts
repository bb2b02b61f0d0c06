// Programs for MOXI in AssemblyScript. services.ts has every service as a function; this file has what
// makes them easy to call: texts, colours, the names of messages and keys.

import { debug_print } from "./services";

export * from "./services";

// An address alone keeps nothing alive, so the newest texts stay pinned: a counter and their addresses.
@lazy const pinned: usize = memory.data(68);

/** The address of a text as services take it. It holds until 16 more texts have been made. */
export function text(value: string): usize {
  const address = changetype<usize>(String.UTF8.encode(value, true));
  const count = load<u32>(pinned);
  const slot = pinned + 4 + 4 * (count & 15);
  if (count > 15) __unpin(load<u32>(slot));
  store<u32>(slot, <u32>__pin(address));
  // 16 to 31 from then on, so that it never comes back to a beginning.
  store<u32>(pinned, count < 31 ? count + 1 : 16);
  return address;
}

/** A colour, opaque unless alpha says otherwise. */
export function rgb(red: u32, green: u32, blue: u32, alpha: u32 = 255): u32 {
  return red | (green << 8) | (blue << 16) | (alpha << 24);
}

/** The bitmap that the window shows. */
export const SCREEN: u32 = 0;
/** A rectangle's or an ellipse's frame that is not drawn. */
export const NO_FRAME: u32 = 0;
/** What set_alpha changes: all pixels. */
export const ALPHA_OF_ALL: i64 = -1;

export namespace Message {
  export const START1: i32 = 1;
  export const START2: i32 = 2;
  export const CLOSE: i32 = 3;
  export const SIZE: i32 = 9;
  export const TICK: i32 = 11;
  export const DOWN: i32 = 12;
  export const UP: i32 = 13;
}

export namespace Key {
  export const RETURN: i32 = 13;
  export const ESCAPE: i32 = 27;
  export const SPACE: i32 = 32;
  export const LEFT: i32 = 37;
  export const UP: i32 = 38;
  export const RIGHT: i32 = 39;
  export const DOWN: i32 = 40;
}

/** Where a failed check or a wrong index ends: a line of the log, then the end of the program. */
export function abort(message: string | null, file: string | null, line: u32, column: u32): void {
  const what = message === null ? "failed" : message;
  const where = file === null ? "?" : file;
  debug_line(where + ":" + line.toString() + ": " + what);
  unreachable();
}



/** A line of the system log. */
export function debug_line(line: string): void {
  debug_print(text(line));
}
