-- Files once more: modes, closed files, many formats at once, places beyond 4 GiB, numbers that are none.
local maxint = math.maxinteger
local print0 = print
local function say(...) local t = table.pack(...) for i = 1, t.n do if t[i] == nil and type(t[i + 1]) == "string" and math.type(t[i + 2]) == "integer" then t[i + 2] = "errno" end t[i] = tostring(t[i]):gsub("0x%x+", "PTR"):gsub("/tmp/lua_%w+", "TMP"):sub(1, 200) end print0(table.concat(t, "\t")) end
local function checkerr(msg, f, ...) local stat, err = pcall(f, ...) say(stat, err, tostring(err):find(msg) ~= nil) end
say(type(os.getenv"PATH"), io.input(io.stdin) == io.stdin, not pcall(io.input, "non-existent-file"), io.output(io.stdout) == io.stdout)
do local mt = getmetatable(io.stdin) say(mt.__name, mt.__index.read ~= nil, type(mt.__gc), type(mt.__close), mt.__metatable) checkerr("got no value", mt.__tostring or print) checkerr("", mt.__gc) checkerr("", mt.__tostring) checkerr("", mt.__index.read) end
local a, b, c = io.open('/a/b/c/d', 'w') say(not a and type(b) == "string" and type(c) == "number", b)
local file = os.tmpname() local f, msg = io.open(file, "w") say(f ~= nil) f:close()
local otherfile = os.tmpname() say(otherfile ~= file, io.open(otherfile) ~= nil)
checkerr("invalid mode", io.open, file, "rw") checkerr("invalid mode", io.open, file, "rb+") checkerr("invalid mode", io.open, file, "r+bk") checkerr("invalid mode", io.open, file, "") checkerr("invalid mode", io.open, file, "+") checkerr("invalid mode", io.open, file, "b") for _, m in ipairs{"r+b", "r+", "rb"} do io.open(file, m):close() end
say(os.setlocale('C', 'all')) io.input(io.stdin) io.output(io.stdout) os.remove(file) say(not loadfile(file)) checkerr("", dofile, file) a, b, c = io.open(file) say(not a, b, type(c)) say(io.output() == io.stdout)
io.output(file) say(io.output() ~= io.stdout) -- a write in a closed file
say(io.output():seek() == 0) say(io.write("alo"):seek() == #"alo") say(io.output():seek("cur", -3) == #"alo" - 3) say(io.write("maria")) say(io.output():seek("cur", 0) == #"alo" - 3 + #"maria") local x = io.output():seek("end") io.output():seek("set", x) say(io.output():seek("cur"), x)
io.output():seek("set", 0) say(io.write('"alo"'):write("second line\n"):write("\nthird ") == io.output()) say(io.write("x", 1, 2.5, "y"):seek() > 0) say(io.output():close()) checkerr("closed", io.write, "x") checkerr("", io.close) io.output(io.stdout)
say(os.rename(file, otherfile), not os.rename(file, otherfile)) io.output(io.open(otherfile, "ab")) say(io.write("\n\n\t\t  ", 3450, "\n")) io.close() io.output(io.stdout)
do local F = nil do local f <close> = assert(io.open(file, "w")) F = f end say(tostring(F)) say(os.remove(file)) end
do say(os.rename("no", "x")) say(os.remove("no")) say(io.open("no")) end
-- lines, many formats
io.output(file) for i = 1, 10 do io.write(i, " ", i * 1.5, "\nline ", i, "\n") end io.close() io.output(io.stdout)
for a, b, c, d in io.lines(file, "n", "n", "l", "L") do io.write(tostring(a), "|", tostring(b), "|", tostring(c), "|", d) end print0()
do local t = {} for i = 1, 250 do t[i] = 1 end t = {io.lines(otherfile, table.unpack(t))()} say(#t, t[1], t[#t]) t = {} for i = 1, 251 do t[i] = 1 end checkerr("too many arguments", io.lines, otherfile, table.unpack(t)) collectgarbage() collectgarbage() end
do local f = io.open(file) local n = 0 for l in f:lines() do n = n + 1 if n == 3 then break end end say(f:read("l"), io.type(f)) f:close() end
do for l in io.lines(file) do break end local it, s, c, h = io.lines(file) say(type(it), s, c, io.type(h)) it() h:close() checkerr("closed", it) end
-- big files
io.output(file) for i = 1, 5001 do io.write('0123456789123') end io.write('\n12346'):close() io.input(file) local x = io.read('a') io.input():seek('set', 0) local y = io.read(30001) .. io.read(1005) .. io.read(0) .. io.read(1) .. io.read(100003) say(x == y and x:len() == 5001 * 13 + 6) io.input():seek('set', 0) y = io.read() say(x == y .. '\n' .. io.read()) say(not io.read()) io.close(io.input()) say(os.remove(file)) x = nil y = nil
-- seek
do local f = assert(io.open(file, "w+")) say(f:seek("set", 2^31 | 0) ~= nil) say(f:seek("end")) say(f:seek("set", 10), f:write("ten"), f:seek("set", 0)) say(#f:read("a")) checkerr("bad argument", f.seek, f, "set", 1.5) say(f:seek("cur", -100)) f:close() os.remove(file) end
-- reading and writing one file
do local f = assert(io.open(file, "w+")) f:write("abc\ndef\n") f:flush() f:seek("set", 0) say(f:read("L")) f:seek("cur") f:write("XYZ") f:seek("set") say(f:read("a")) f:close() f = io.open(file, "r+") f:seek("end", -3) f:write("END!") f:seek("set") say(f:read("a")) f:close() end
-- numbers
local function num(s, ...) local f = assert(io.open(file, "w")) f:write(s) f:close() f = io.open(file) say(f:read(...)) say(f:read("a")) f:close() end
num("-12.3-\t-0xffff+  .3|5.E-3X  +234e+13E 0xDEADBEEFDEADBEEFx\n0x1.13Ap+3e", "n", 1, "n", "n", 1, "n", "n", 1, "n", 1, "n") num(".e+\t0.e;\t--;  0xX;", "n") num("0x.p1", "n") num("1e5e", "n") num("+-5", "n") num("0xg", "n") num("  nan", "n") num("inf", "n") num("1.2.3", "n", "n") num(("9"):rep(199), "n") num(("9"):rep(200), "n") num(("9"):rep(201), "n") num("", "n") num("\n\n\n7", "n") num("7", 0, "n", 0) num("0x7fffffffffffffff 0xffffffffffffffff", "n", "n") num("1,5", "n") num("5e", "n")
-- buffers
do local f = assert(io.open(file, "w")) say(f:setvbuf("full", 100), f:setvbuf("no"), f:setvbuf("line", 10)) f:write(("x"):rep(1000)) f:close() say(#io.open(file):read("a")) end
-- tmpfile, popen
do local f = io.tmpfile() say(io.type(f)) f:write("alo") f:seek("set") say(f:read("a")) end
say(pcall(io.read, "x")) say(pcall(io.lines, file, "x")) say(pcall(io.lines, 5)) checkerr("", io.type) say(io.type(8), io.type({}), io.type(io.stdin))
do local ok, m = io.stdout:close() end
local f = io.tmpfile() print(f:seek("set", 1 << 33)) print(f:seek("cur", 5), f:seek("end"))
