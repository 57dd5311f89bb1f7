-- Counts the elements of a file and adds up the lengths of their attributes' values: count.lua FILE
local lxp = require "lxp"

local elements = 0
local attributeLength = 0

local parser = lxp.new {
    StartElement = function(_, _, attributes)
        elements = elements + 1
        for i = 1, #attributes do
            attributeLength = attributeLength + #attributes[attributes[i]]
        end
    end,
}

for chunk in io.lines(arg[1], 65536) do
    assert(parser:parse(chunk))
end
assert(parser:parse())
parser:close()
print(string.format("%d elements, %d bytes of attributes", elements, attributeLength))
