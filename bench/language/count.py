"""Counts the elements of a file and adds up the lengths of their attributes' values: count.py FILE."""
import sys
from xml.parsers import expat

elements = 0
attribute_length = 0


def start_element(name, attributes):
    global elements, attribute_length
    elements += 1
    for value in attributes.values():
        attribute_length += len(value)


parser = expat.ParserCreate("UTF-8")
parser.StartElementHandler = start_element
with open(sys.argv[1], "rb") as file:
    parser.ParseFile(file)
print(f"{elements} elements, {attribute_length} bytes of attributes")
