-- Quicksort of n unsigned 32-bit words, the middle word as pivot.

local words = {}

local function setup(n)
    local x = 99
    for i = 1, n do
        x = (x * 1664525 + 1013904223) & 0xFFFFFFFF
        words[i] = x
    end
end

local function sort(words, first, last)
    while first < last do
        local pivot = words[first + (last - first) // 2]
        local left = first
        local right = last
        while true do
            while words[left] < pivot do
                left = left + 1
            end
            while words[right] > pivot do
                right = right - 1
            end
            if left >= right then
                break
            end
            words[left], words[right] = words[right], words[left]
            left = left + 1
            right = right - 1
        end
        if right - first <= last - right then
            sort(words, first, right)
            first = right + 1
        else
            sort(words, right + 1, last)
            last = right
        end
    end
end

local function run(n)
    sort(words, 1, n)
end

local function checksum(n)
    local hash = 0
    for i = 1, n do
        hash = (hash * 31 + words[i]) & 0xFFFFFFFF
    end
    return hash
end

return { setup = setup, run = run, checksum = checksum }
