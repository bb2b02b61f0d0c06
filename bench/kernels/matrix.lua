-- Product of two n x n matrices of 32-bit integers; the input is filled as 256 x 256.

local a, b, c = {}, {}, {}

local function setup()
    local x = 1
    for _, matrix in ipairs({ a, b }) do
        for i = 1, 256 do
            local row = {}
            for j = 1, 256 do
                x = (x * 1664525 + 1013904223) & 0xFFFFFFFF
                row[j] = x
            end
            matrix[i] = row
        end
    end
end

local function run(n)
    local a, b = a, b
    for i = 1, n do
        local left = a[i]
        local product = {}
        for j = 1, n do
            local sum = 0
            for k = 1, n do
                sum = sum + left[k] * b[k][j]
            end
            product[j] = sum & 0xFFFFFFFF
        end
        c[i] = product
    end
end

local function checksum(n)
    local hash = 0
    for i = 1, n do
        for j = 1, n do
            hash = (hash * 31 + c[i][j]) & 0xFFFFFFFF
        end
    end
    return hash
end

return { setup = setup, run = run, checksum = checksum }
