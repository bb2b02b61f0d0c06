-- The night behind: a sky of bands, stars of three depths, the moon, hills that sink away.

local sky = {}

local width, height
local stars = {}
local ridges = {}

function sky.make(across, down)
    width, height = across, down
    for i = 1, 70 do
        local depth = i % 3 + 1
        stars[i] = {x = random_float(0, width), y = random_float(0, height), depth = depth,
                    beat = random_float(1, 4)}
    end
    for layer = 1, 3 do
        local ridge = {}
        for x = 0, width, 2 do
            ridge[#ridge + 1] = 26 + layer * 14 + 14 * math.sin(x / (22 + layer * 9) + layer * 2) +
                                6 * math.sin(x / (7 + layer * 3) + layer)
        end
        ridges[layer] = ridge
    end
end

-- Near stars go faster.
function sky.update(dt, speed)
    for _, star in ipairs(stars) do
        star.y = star.y + speed * dt * star.depth / 5
        if star.y > height then
            star.y, star.x = star.y - height, random_float(0, width)
        end
    end
end

local function draw_bands(risen)
    local part = math.min(1, risen / 9000)
    local top, low = mix(RGB(16, 18, 52), RGB(6, 6, 18), part), mix(RGB(92, 58, 110), RGB(20, 22, 60), part)
    for y = 0, height - 1, 8 do draw_box(0, y, width, 8, mix(top, low, y / height)) end
end

local function draw_moon(risen)
    local y = 44 + risen / 400
    draw_disc(258, y, 34, faded(SILVER, 0.06))
    draw_disc(258, y, 26, faded(SILVER, 0.10))
    draw_disc(258, y, 18, RGB(236, 232, 214))
    draw_disc(252, y - 5, 4, RGB(214, 208, 190))
    draw_disc(264, y + 4, 3, RGB(218, 212, 194))
    draw_disc(259, y + 10, 2, RGB(214, 208, 190))
end

local function draw_hills(risen)
    for layer = 3, 1, -1 do
        local sunk = risen * (4 - layer) / 8
        if sunk < 90 then
            local ink = mix(RGB(18, 16, 38), RGB(70, 48, 92), layer / 4)
            for i, top in ipairs(ridges[layer]) do
                draw_box((i - 1) * 2, height - top + sunk, 2, top, ink)
            end
        end
    end
end

function sky.draw(risen)
    draw_bands(risen)
    for _, star in ipairs(stars) do
        local twinkle = 0.55 + 0.45 * math.sin(game_time() * star.beat + star.x)
        draw_box(star.x, star.y, star.depth > 2 and 2 or 1, star.depth > 2 and 2 or 1, faded(WHITE, twinkle))
    end
    draw_moon(risen)
    draw_hills(risen)
end

return sky
