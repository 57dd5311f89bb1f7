-- LuaExpat; see jobs.kova.
local lxp = require "lxp"

local elements, bytes = 0, 0

local function count() elements = elements + 1 end

local measure = {
  StartElement = function(_, _, attributes)
    elements = elements + 1
    for i = 1, #attributes do bytes = bytes + #attributes[attributes[i]] end
  end,
  EndElement = function() bytes = bytes + 1 end,
  CharacterData = function(_, text) bytes = bytes + #text end,
}

local function parse(path, handlers)
  local parser = lxp.new(handlers)
  local file = assert(io.open(path, "rb"))
  while true do
    local chunk = file:read(65536)
    if not chunk then break end
    assert(parser:parse(chunk))
  end
  file:close()
  assert(parser:parse())
  parser:close()
end

local job, path = arg[1], arg[2]
if job == "nothing" then
  parse(path, {})
  print("parsed")
elseif job == "elements" then
  parse(path, {StartElement = count})
  print(elements)
elseif job == "files" then
  for i = 1, 10000 do parse(path .. "/" .. i .. ".xml", {StartElement = count}) end
  print(elements)
else
  parse(path, measure)
  print(elements .. " " .. bytes)
end
