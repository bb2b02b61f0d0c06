-- Fibonacci number n by two recursive calls.

local result = 0

local function fib(n)
    if n < 2 then
        return n
    end
    return fib(n - 1) + fib(n - 2)
end

local function run(n)
    result = fib(n)
end

return { setup = function() end, run = run, checksum = function() return result end }
