-- Sieve of Eratosthenes over n flags.

local flags = {}
local count = 0

local function run(n)
    local flags = flags
    for k = 0, n - 1 do
        flags[k] = 1
    end
    flags[0] = 0
    flags[1] = 0
    local i = 2
    while i * i < n do
        if flags[i] == 1 then
            for k = i * i, n - 1, i do
                flags[k] = 0
            end
        end
        i = i + 1
    end
    local found = 0
    for k = 0, n - 1 do
        found = found + flags[k]
    end
    count = found
end

local function checksum(n)
    local sum = count
    for k = 0, n - 1 do
        if flags[k] == 1 then
            sum = sum + k
        end
    end
    return sum & 0xFFFFFFFF
end

return { setup = function() end, run = run, checksum = checksum }
