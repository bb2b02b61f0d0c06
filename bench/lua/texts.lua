local t = {} for i = 1, 200000 do t[i] = ("key%d"):format(i * 7919 % 200003) end table.sort(t) local n = 0 for _, k in ipairs(t) do n = n + #k:gsub("%d", "x") end print(n, t[1])
