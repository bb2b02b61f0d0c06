-- The Mandelbrot set on n x n points, at most 256 iterations each.

local iterations = {}

local function run(n)
    local iterations = iterations
    local step = 3.0 / n
    local point = 0
    for row = 0, n - 1 do
        local ci = row * step - 1.5
        for column = 0, n - 1 do
            local cr = column * step - 2.0
            local zr = 0.0
            local zi = 0.0
            local count = 256
            for i = 0, 255 do
                local zr2 = zr * zr
                local zi2 = zi * zi
                if zr2 + zi2 > 4.0 then
                    count = i
                    break
                end
                local product = zi * zr
                zr = zr2 - zi2 + cr
                zi = product + product + ci
            end
            point = point + 1
            iterations[point] = count
        end
    end
end

local function checksum(n)
    local hash = 0
    for i = 1, n * n do
        hash = (hash * 31 + iterations[i]) & 0xFFFFFFFF
    end
    return hash
end

return { setup = function() end, run = run, checksum = checksum }
