-- A list of 1,000 nodes: n times a node is looked for by its key, taken out, and put in front.

local NODES = 1000
local front
local steps = 0

local function setup()
    front = nil
    for key = NODES - 1, 0, -1 do
        front = { key = key, next = front }
    end
end

local function run(n)
    local x, gone, first = 1, 0, front
    for _ = 1, n do
        x = (x * 1664525 + 1013904223) & 0xFFFFFFFF
        local key = (x >> 16) * NODES >> 16
        local node, before = first, nil
        while node.key ~= key do
            before = node
            node = node.next
            gone = gone + 1
        end
        if before then
            before.next = node.next
            node.next = first
            first = node
        end
    end
    front, steps = first, gone
end

local function checksum()
    local hash, node = 0, front
    while node do
        hash = (hash * 31 + node.key) & 0xFFFFFFFF
        node = node.next
    end
    return (hash * 31 + steps) & 0xFFFFFFFF
end

return { setup = setup, run = run, checksum = checksum }
