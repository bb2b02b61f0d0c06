-- The collector: its modes, weak tables, finalizers to the very end.
collectgarbage() collectgarbage("incremental")
print(collectgarbage("generational"), collectgarbage("generational"), collectgarbage("incremental"), collectgarbage("incremental"))
print(pcall(collectgarbage, "count", 1) , select("#", collectgarbage("count")))
print(collectgarbage("step", 0) ~= nil, collectgarbage("setpause", 0), collectgarbage("setpause", 200), collectgarbage("setstepmul", 0), collectgarbage("setstepmul", 100))
local function gcinfo() return collectgarbage"count" * 1024 end
do local function dosteps(siz) collectgarbage() local i = 0 repeat local a = {1, 2, 3, "foo" .. i} i = i + 1 until collectgarbage("step", siz) return i end collectgarbage"stop" print(dosteps(10) < dosteps(1)) collectgarbage"restart" print(dosteps(20000) == 1, collectgarbage("step", 20000), collectgarbage("step", 20000)) end
local limit = 5000 do local a = {} repeat local b = {} a = {} limit = limit - 1 until limit == 0 end
for n = 1, 5 do local s = "" for i = 1, 100 do s = s .. tostring(i) .. "x" end local f = load("return '" .. s .. "'") assert(f() == s) end
-- long strings and lists
do local x = "" for i = 1, 10000 do x = x .. ("b"):rep(100) if #x > 100000 then x = "" end end print(#x) local t = {} for i = 1, 100000 do t[i] = {} t[i].p = t[i - 1] end print(#t) end
-- weak tables, ephemerons
local a = setmetatable({}, {__mode = "k"}) for i = 1, 1000 do a[{}] = i end for i = 1, 1000 do local t = {} a[t] = t end for i = 1, 1000 do a[i] = i end for i = 1, 1000 do local s = ("@"):rep(i) a[s] = s .. "#" end collectgarbage() local i = 0 for k, v in pairs(a) do i = i + 1 end print(i)
a = setmetatable({}, {__mode = "v"}) a[1] = ("b"):rep(21) collectgarbage() print(a[1] ~= nil) for i = 1, 1000 do a[i] = {} end for i = 1, 1000 do a[i .. "x"] = {} end for i = 1, 1000 do local t = {} a[t] = t end for i = 1, 1000 do a[i + 1000] = i .. "x" end collectgarbage() i = 0 for k, v in pairs(a) do i = i + 1 end print(i)
a = setmetatable({}, {__mode = "kv"}) local x, y, z = {}, {}, {} a[1], a[2], a[3] = x, y, z a["$"] = 5 for i = 4, 1000 do a[i] = {} end for i = 1, 1000 do a[{}] = i end for i = 1, 1000 do local t = {} a[t] = t end collectgarbage() i = 0 for k, v in pairs(a) do i = i + 1 end print(i) x, y, z = nil collectgarbage() i = 0 for _ in pairs(a) do i = i + 1 end print(i)
do local e = setmetatable({}, {__mode = "k"}) local x = nil for i = 1, 100 do local n = {} e[n] = {k = {x}} x = n end collectgarbage() local n = x local i = 0 while n do n = e[n].k[1] i = i + 1 end print(i) x = nil collectgarbage() for i = 1, 4 do for i = 1, 1000 do local t = {} t[1] = {} end end print(next(e)) end
-- __gc x weak
do local u = setmetatable({}, {__gc = true}) setmetatable(getmetatable(u), {__mode = "v"}) getmetatable(u).__gc = function(o) os.exit(1) end u = nil collectgarbage() end
local u = setmetatable({}, {__mode = "k"}) local log = {} for i = 1, 5 do u[setmetatable({}, {__gc = function(o) log[#log+1] = u[o] u[o] = nil end})] = i end collectgarbage() print(table.concat(log, " "), next(u))
-- resurrection, order, errors in finalizers as warnings
do local saved for i = 1, 3 do local o = setmetatable({n = i}, {__gc = function(o) saved = o end}) end collectgarbage() print(saved.n) end
warn("@on") setmetatable({}, {__gc = function() error("first error in gc", 0) end}) collectgarbage() setmetatable({}, {__gc = function() error({}) end}) collectgarbage() setmetatable({}, {__gc = function() error() end}) collectgarbage() warn("@off") setmetatable({}, {__gc = function() error("silent") end}) collectgarbage()
setmetatable({}, {__gc = 42}) collectgarbage()
do local t = setmetatable({}, {__gc = function() print(pcall(collectgarbage)) print(collectgarbage("count")) print(collectgarbage("step")) print(collectgarbage("isrunning")) end}) t = nil collectgarbage() end
-- coroutines and threads are collected
do local co = {} for i = 1, 500 do co[i] = coroutine.wrap(function() local x = {} for j = 1, 100 do x[j] = j end coroutine.yield(x) end) co[i]() end co = nil collectgarbage() print(gcinfo() < 3e6) end
do local thread_id = 0 local threads = {} local function fn(thread) local x = {} threads[thread_id] = function() thread = x end coroutine.yield() end while thread_id < 1000 do local thread = coroutine.create(fn) coroutine.resume(thread, thread) thread_id = thread_id + 1 end end
do collectgarbage() collectgarbage"stop" collectgarbage("step", 0) local x = gcinfo() repeat for i = 1, 1000 do _ENV.a = {} end until gcinfo() > 2 * x collectgarbage"restart" _ENV.a = nil print(true) end
-- at the end of the state
do setmetatable({}, {__gc = function() setmetatable({}, {__gc = function() print("made while closing") end}) print("closing", type(print)) end}) local o <const> = setmetatable({}, {__gc = function() print("closing 2") end}) _G.kept = o end
-- generational
collectgarbage("generational") do local U = {} U[1] = {x = {234}} collectgarbage"step" U[1].x = nil U[1].y = {1} collectgarbage("step", 0) print(U[1].y[1]) local t = setmetatable({}, {__mode = "k"}) for i = 1, 20 do t[{}] = i collectgarbage("step") end local n = 0 for _ in pairs(t) do n = n + 1 end print(n <= 3) end for i = 1, 20000 do local a = {{}, {}, {}} end print(collectgarbage("generational", 10, 50), collectgarbage("incremental", 200, 100, 13), collectgarbage("incremental"))
