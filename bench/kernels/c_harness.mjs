// Times one kernel in wasm: node c_harness.mjs KERNEL.wasm N RUNS
// The first line that is printed is the checksum, each further one the seconds of one run, in
// processor time as with the others.
import { readFileSync } from "node:fs";

const [file, size, count] = process.argv.slice(2);
const { instance } = await WebAssembly.instantiate(readFileSync(file), {});
const send = instance.exports.moxi_message;
const n = Number(size);

// Once without the clock, so that the code is compiled for good.
send(1, n, 0, 0);
send(2, n, 0, 0);
const times = [];
for (let i = 0; i < Number(count); ++i) {
    send(1, n, 0, 0);
    const before = process.cpuUsage();
    send(2, n, 0, 0);
    const { user, system } = process.cpuUsage(before);
    times.push((user + system) / 1e6);
}
let checksum = 0;
for (let byte = 0; byte < 4; ++byte) checksum += send(3, n, byte, 0) * 2 ** (8 * byte);
console.log(checksum);
for (const time of times) console.log(time.toFixed(6));
