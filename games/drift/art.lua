-- The pictures, a letter a pixel; two cells or more stand side by side in each.

local art = {}

local LANTERN = [[
.....kkkkkk..........kkkkkk.....
....kddddddk........kddddddk....
...kroooooork......kroooooork...
..krooyyyyoork....krooooyyoork..
.krooyyyyyyoork..krooyyyyyyoork.
.krooywwwwyoork..krooyywwyyoork.
krooyywwwwyyoorkkrooyywwwwyyoork
krooyywwwwyyoorkkrooyywwwwyyoork
krooyywwwwyyoorkkroooyywwyyooork
krooyyywwyyyoorkkroooyywwyyooork
.krooyyyyyyoork..krooyyyyyyoork.
.krooyyyyyyoork..krooyyyyyyoork.
..krooyyyyoork....krooyyyyoork..
...kroooooork......kroooooork...
....krrrrrrk........krrrrrrk....
.....kddddk..........kddddk.....
......kwwk............kywk......
.......kk..............kk.......
]]

local SPARK = [[
...yy......yy..............y....
...yy......yy.......yy.....y....
..ywwy....ywwy.....ywwy...ywwy..
yywwwwyy.ywwwwy...yywwyy.yywwyy.
yywwwwyy.ywwwwy...yywwyy.yywwyy.
..ywwy....ywwy.....ywwy...ywwy..
...yy......yy.......yy.....y....
...yy......yy..............y....
]]

local BAT = [[
.kk..............kk.....................
kddk....k..k....kddk........k..k........
kdddkk.kkkkkk.kkdddk.......kkkkkk.......
kddddkkkrkkrkkkddddk...kkkkkrkkrkkkkk...
.kdddddkkkkkkdddddk..kkddddkkkkkkddddkk.
..kkddddkddkddddkk..kddddddkkddkkddddddk
....kkdkkddkkdkk....kddkkdk.kddk.kdkkddk
......k..kk..k......kdk..k...kk...k..kdk
.........kk.........kk.......kk.......kk
........................................
]]

local INKS = {
    k = RGB(24, 16, 34), d = RGB(74, 56, 96), r = RGB(186, 60, 48), o = RGB(232, 120, 52),
    y = RGB(250, 200, 90), w = RGB(255, 244, 206),
}

function art.make()
    art.lantern = make_sheet(make_picture(LANTERN, INKS), 16, 18)
    art.spark = make_sheet(make_picture(SPARK, INKS), 8, 8)
    art.bat = make_sheet(make_picture(BAT, INKS), 20, 10)
end

return art
