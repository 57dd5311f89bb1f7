-- What is timed, as in work.kova.
local Counter = {}
Counter.__index = Counter
function Counter.new() return setmetatable({total = 0}, Counter) end
function Counter:add(n) self.total = self.total + n end

local Item = {}
Item.__index = Item
function Item.new(name, value) return setmetatable({name = name, value = value}, Item) end

local work = {}

function work.loops(rounds)
  local sum = 0
  for i = 1, rounds do
    for j = 1, 1000 do
      if (i + j) % 3 == 0 then sum = sum + j else sum = sum - 1 end
    end
    sum = sum % 1000000
  end
  return sum
end

local function fibonacci(n)
  if n < 2 then return n end
  return fibonacci(n - 1) + fibonacci(n - 2)
end

function work.calls(rounds)
  local sum = 0
  for _ = 1, rounds do sum = sum + fibonacci(15) end
  return sum
end

function work.methods(rounds)
  local counter = Counter.new()
  for _ = 1, rounds do
    for j = 1, 1000 do counter:add(j) end
    counter.total = counter.total % 1000
  end
  return counter.total
end

function work.strings(rounds)
  local sum = 0
  for _ = 1, rounds do
    local text = ""
    for j = 1, 1000 do text = text .. j .. "," end
    for j = 1, 1000 do
      if text:sub(j, j) == "," then sum = sum + 1 end
    end
    sum = sum + #text
  end
  return sum
end

function work.arrays(rounds)
  local sum = 0
  for _ = 1, rounds do
    local list = {}
    for j = 0, 999 do list[#list + 1] = j * 7 % 1000 end
    for j = 2, 1000 do list[j] = (list[j] + list[j - 1]) % 1000 end
    sum = sum + list[1000]
  end
  return sum
end

function work.dictionaries(rounds)
  local keys = {}
  for j = 0, 999 do keys[j] = "key" .. j end
  local sum = 0
  for i = 1, rounds do
    local counts = {}
    for j = 0, 999 do counts[keys[j]] = j end
    for j = 0, 999 do counts[keys[j]] = counts[keys[j]] + i end
    sum = sum + counts.key500
  end
  return sum
end

function work.objects(rounds)
  local sum = 0
  for _ = 1, rounds do
    local items = {}
    for j = 1, 1000 do items[#items + 1] = Item.new("a", j) end
    for _, item in ipairs(items) do sum = sum + item.value % 7 end
  end
  return sum
end

print(work[arg[1]](tonumber(arg[2])))
