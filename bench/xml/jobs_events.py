# pyexpat; see jobs.kova.
import os
import sys
import xml.parsers.expat

elements = 0
size = 0


def start(name, attributes):
    global elements, size
    elements += 1
    for value in attributes.values():
        size += len(value)


def end(name):
    global size
    size += 1


def characters(text):
    global size
    size += len(text)


def count(name, attributes):
    global elements
    elements += 1


def parse(path, **handlers):
    parser = xml.parsers.expat.ParserCreate()
    for name, handler in handlers.items():
        setattr(parser, name, handler)
    with open(path, "rb") as file:
        parser.ParseFile(file)


def main():
    job, path = sys.argv[1:3]
    if job == "nothing":
        parse(path)
        print("parsed")
    elif job == "elements":
        parse(path, StartElementHandler=count)
        print(elements)
    elif job == "files":
        for entry in os.scandir(path):
            parse(entry.path, StartElementHandler=count)
        print(elements)
    else:
        parse(path, StartElementHandler=start, EndElementHandler=end, CharacterDataHandler=characters)
        print(elements, size)


main()
