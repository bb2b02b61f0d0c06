// Times one kernel that was compiled to wasm: node harness.mjs KERNELS.wasm NUMBER N RUNS
// The first line that is printed is the checksum, each further one the seconds of one run, processor
// time. Rounds before the first give the engine time to compile as well as it can.

import { readFileSync } from 'node:fs';
import { setTimeout as sleep } from 'node:timers/promises';

const [file, number, n, runs] = process.argv.slice(2);
const { instance } = await WebAssembly.instantiate(readFileSync(file), {});
const { setup, run, checksum } = instance.exports;
for (let i = 0; i < 3; ++i) {
    setup(+number, +n);
    run(+number, +n);
    await sleep(100);
}
const times = [];
for (let i = 0; i < +runs; ++i) {
    setup(+number, +n);
    const start = process.cpuUsage();
    run(+number, +n);
    const taken = process.cpuUsage(start);
    times.push((taken.user + taken.system) * 1e-6);
}
setup(+number, +n);
run(+number, +n);
console.log(checksum(+number, +n) >>> 0);
for (const time of times) console.log(time.toFixed(6));
