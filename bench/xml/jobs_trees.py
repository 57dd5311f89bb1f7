# ElementTree, or lxml with --lxml; see jobs.kova.
import sys

arguments = sys.argv[1:]
if arguments[0] == "--lxml":
    from lxml import etree
    del arguments[0]
else:
    import xml.etree.ElementTree as etree


def count_nodes(element):
    """With the texts, which are no nodes here."""
    count = 1 + bool(element.text)
    for child in element:
        count += count_nodes(child) + bool(child.tail)
    return count


def text_length(element):
    length = len(element.text or "")
    for child in element:
        length += text_length(child) + len(child.tail or "")
    return length


def child_count(element):
    return len(element) + bool(element.text) + sum(bool(child.tail) for child in element)


def append():
    root = etree.Element("list")
    for _ in range(200000):
        root.append(etree.Element("item"))
    return len(root)


def set_attributes(root):
    count = 0
    for record in root:
        for i in range(1, 6):
            record.set(f"seen{i}", str(count))
            count += 1
    return count


def small(path):
    transform = etree.XSLT(etree.parse(path))
    length = 0
    for i in range(1, 10001):
        document = etree.fromstring(f"<item n='{i}'><name>amber basin</name><price>12.50</price></item>")
        length += len(bytes(transform(document)))
    return length


def main():
    job, path, *rest = arguments
    if job == "append":
        print(append())
    elif job == "small":
        print(small(rest[0]))
    else:
        tree = etree.parse(path)
        root = tree.getroot()
        if job == "load":
            print(child_count(root))
        elif job == "walk":
            print(count_nodes(root))
        elif job == "texts":
            print(text_length(root))
        elif job == "find":
            search = tree.xpath if hasattr(tree, "xpath") else lambda path: tree.findall("." + path)
            print(sum(len(search(f"//record[@id='r{i * 1000}']")) for i in range(1, 11)))
        elif job == "queries":
            search = "xpath" if hasattr(root, "xpath") else "findall"
            print(sum(len(getattr(record, search)("price")) for record in root))
        elif job == "save":
            tree.write(rest[0], encoding="UTF-8")
            print("saved")
        elif job == "set":
            print(set_attributes(root))
        else:
            result = bytes(etree.XSLT(etree.parse(rest[0]))(tree))
            print("done" if len(result) > 1000 else "too short")


main()
