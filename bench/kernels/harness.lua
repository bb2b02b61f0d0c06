-- Times one kernel: lua5.4 harness.lua KERNEL.lua N RUNS
-- A kernel file returns a table with setup(n), run(n) and checksum(n). The first line that is
-- printed is the checksum, each further one the seconds of one run.

local kernel = dofile(arg[1])
local n = tonumber(arg[2])
local runs = tonumber(arg[3])

local times = {}
for i = 1, runs do
    kernel.setup(n)
    collectgarbage()
    local start = os.clock()
    kernel.run(n)
    times[i] = os.clock() - start
end
print(kernel.checksum(n))
for i = 1, runs do
    print(string.format("%.6f", times[i]))
end
