-- The debug library: what it knows of functions and lines, hooks, locals, upvalues, tracebacks.
local debug = require "debug"
package.path, package.cpath = "?.lua", "?.so"
local function say(...) local t = table.pack(...) for i = 1, t.n do t[i] = tostring(t[i]):gsub("0x%x+", "PTR") end print(table.concat(t, "\t")) end
local function dostring(s) return assert(load(s))() end
say(not pcall(debug.getinfo, print, "X"))
say(pcall(debug.getinfo, print, ">")) say(debug.getinfo(1000), debug.getinfo(-1)) say(pcall(debug.getinfo)) say(pcall(debug.getinfo, {}))
local a = debug.getinfo(print) say(a.what, a.short_src, a.source, a.linedefined, a.lastlinedefined, a.currentline, a.nups, a.nparams, a.isvararg, a.istailcall, a.namewhat, a.name, a.ntransfer, a.ftransfer)
a = debug.getinfo(say, "SLfu") say(a.short_src, a.linedefined, a.lastlinedefined, a.nups, a.nparams, a.isvararg, next(a.activelines))
a = debug.getinfo(say, "L") local l = {} for k in pairs(a.activelines) do l[#l + 1] = k end table.sort(l) say(table.concat(l, " "))
local function checkactivelines(f, lines) local t = debug.getinfo(f, "SL") local n = {} for k in pairs(t.activelines) do n[#n+1] = k - t.linedefined end table.sort(n) say(table.concat(n, ","), t.linedefined >= 0) end
checkactivelines(function(...)
  local x = ...
  -- a comment

  x = 2
  return x
end)
checkactivelines(function(a)
  -- 1st
  a = a + 3
  a = 2
  do
    return
  end
end)
-- what a chunk is called
for _, c in ipairs{"@a", "=a", "a\nb", ("x"):rep(80), "@" .. ("x"):rep(80), "=" .. ("x"):rep(80), "", "\n", "a" .. ("\n"):rep(3), "@", "="} do say(debug.getinfo(load("return 1", c), "S").short_src) end
-- lines
local function test(s, l) local got = {} debug.sethook(function(event, line) got[#got + 1] = event:sub(1,1) .. line end, "l") load(s)() debug.sethook() say(table.concat(got, " ")) end
test([[if
math.sin(1)
then
  a=1
else
  a=2
end
]]) test([[
local function foo()
end
foo()
A = 1
A = 2
A = 3
]]) test([[--
if nil then
  a=1
else
  a=2
end
]]) test([[a=1
repeat
  a=a+1
until a==3
]]) test([[ do
  return
end
]]) test([[local a
a=1
while a<=3 do
  a=a+1
end
]]) test([[while math.sin(1) do
  if math.sin(1)
  then break
  end
end
a=1]]) test([[for i=1,3 do
  a=i
end
]]) test([[for i,v in pairs{'a','b'} do
  a=tostring(i) .. v
end
]]) test([[for i=1,4 do a=1 end
]]) test([[local a <const> = 10
local b; do
  a1 = {
   1,
   2 }
end
goto x ::x::
return a
]])
-- hooks
do local log = {} debug.sethook(function(e) local i = debug.getinfo(2, "nSr") log[#log+1] = e .. ":" .. tostring(i.name) .. ":" .. i.ftransfer .. "," .. i.ntransfer end, "cr") local function f(a, b) return a, b, 3 end f(1, 2) local function g() return f(1) end g() math.sin(1) debug.sethook() say(table.concat(log, " ")) end
do local n = 0 debug.sethook(function(e) n = n + 1 end, "", 100) for i = 1, 10000 do end debug.sethook() say(n) end
do local n = 0 debug.sethook(function(e) n = n + 1 end, "", 1) for i = 1, 3 do local x = i * 2 end debug.sethook() say(n) end
say(debug.gethook()) debug.sethook(print, "crl", 5) local f, m, c = debug.gethook() debug.sethook() say(f == print, m, c)
do local co = coroutine.create(function() local x = 1 coroutine.yield() x = 2 end) local log = {} debug.sethook(co, function(e, l) log[#log+1] = l end, "l") coroutine.resume(co) coroutine.resume(co) say(#log, debug.gethook(), debug.gethook(co) ~= nil) end
-- locals
local function foo(a, b, ...) do local x, y, z end local c, d = 10, 20 local e <const> = 5 say(debug.getlocal(1, 1)) say(debug.getlocal(1, 2)) say(debug.getlocal(1, 3)) say(debug.getlocal(1, 4)) say(debug.getlocal(1, -1)) say(debug.getlocal(1, -2)) say(debug.getlocal(1, -3)) say(debug.getlocal(1, 100)) say(debug.setlocal(1, 1, "new"), a) say(debug.setlocal(1, -1, "va"), ...) say(debug.setlocal(1, 100, 1)) return 1 end
foo(1, 2, 3, 4) say(debug.getlocal(foo, 1), debug.getlocal(foo, 2), debug.getlocal(foo, 3)) say(pcall(debug.getlocal, 100, 1)) say(debug.getlocal(print, 1)) say(pcall(debug.setlocal, 100, 1, 1))
do local co = coroutine.create(function(x) local a = 1 coroutine.yield(debug.getinfo(1, "l")) coroutine.yield(a) return a end) coroutine.resume(co, 5) say(debug.getlocal(co, 1, 1)) say(debug.getlocal(co, 1, 2)) say(debug.setlocal(co, 1, 2, "hi")) say(coroutine.resume(co)) say(debug.traceback(co)) say(debug.traceback(co, "m")) say(debug.traceback(co, nil, 100)) say(debug.getinfo(co, 0).name) say(debug.getinfo(co, 1, "lS").currentline) say(debug.getinfo(co, 5)) end
-- upvalues
do local x, y = 1, 2 local function f() return x + y end local function g() return y end say(debug.getupvalue(f, 1)) say(debug.getupvalue(f, 3)) say(debug.setupvalue(f, 1, 10), x) say(debug.upvalueid(f, 2) == debug.upvalueid(g, 1), debug.upvalueid(f, 1) == debug.upvalueid(g, 1)) debug.upvaluejoin(f, 1, g, 1) say(f()) say(pcall(debug.upvaluejoin, f, 5, g, 1)) say(debug.upvalueid(f, 9), debug.upvalueid(print, 1)) say(debug.getupvalue(string.gmatch("x", "x"), 1)) say(debug.setupvalue(print, 1, 10)) end
-- registry, metatables, user values
say(type(debug.getregistry()), debug.getmetatable("").__index == string, debug.setmetatable(10, {__index = function(a, b) return a + b end}) == 10, (10)[3], debug.setmetatable(10, nil)) debug.setmetatable(nil, {__call = function() return "nilcall" end}) local nothing say(nothing()) debug.setmetatable(nil, nil)
say(debug.getuservalue(io.stdin, 1), debug.getuservalue(10), debug.setuservalue(io.stdin, 10)) say(pcall(debug.setuservalue, 10, 1)) debug.setmetatable(print, {__index = {len = 5}}) say(print.len) debug.setmetatable(print, nil)
-- tracebacks
local function deep(n) if n > 0 then return deep(n - 1) .. "" else return debug.traceback("hi", 1) end end say(deep(3)) say((deep(30))) local function t(...) return debug.traceback(...) end say(t("x", 0)) say(t(nil)) say(t({}) ~= nil) say((select(2, xpcall(function() local x = nil; x.y = 1 end, debug.traceback)))) say((select(2, xpcall(function() string.rep() end, debug.traceback)))) say((select(2, xpcall(string.rep, debug.traceback))))
local T = setmetatable({}, {__index = function(t, k) return debug.traceback(k) end, __add = function() return debug.getinfo(1, "n").name, debug.getinfo(1, "n").namewhat end, __lt = function() return debug.getinfo(1, "n").name == "lt" end, __close = function() say(debug.getinfo(1, "n").name) end, __gc = function() say(debug.getinfo(1, "n").name, debug.getinfo(1,"n").namewhat) end, __concat = function() return debug.getinfo(1, "n").name end, __len = function() return debug.getinfo(1, "n").name end, __call = function() return debug.getinfo(1, "n").name end, __unm = function() return debug.getinfo(1,"n").name end}) say(T.key) say(T + 1) say(T < T) say(T .. "x", #T, -T) do local x <close> = T end
setmetatable({}, getmetatable(T)) collectgarbage()
for k in (function() return function() say(debug.getinfo(1, "n").name, debug.getinfo(1, "n").namewhat) end end)() do end
say(pcall(load("local t = {} function t.a.b() end")))
