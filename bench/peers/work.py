# What is timed, as in work.kova.
import sys


class Counter:
    def __init__(self):
        self.total = 0

    def add(self, n):
        self.total += n


class Item:
    def __init__(self, name, value):
        self.name = name
        self.value = value


def loops(rounds):
    total = 0
    for i in range(1, rounds + 1):
        for j in range(1, 1001):
            if (i + j) % 3 == 0:
                total += j
            else:
                total -= 1
        total %= 1000000
    return total


def fibonacci(n):
    if n < 2:
        return n
    return fibonacci(n - 1) + fibonacci(n - 2)


def calls(rounds):
    total = 0
    for _ in range(rounds):
        total += fibonacci(15)
    return total


def methods(rounds):
    counter = Counter()
    for _ in range(rounds):
        for j in range(1, 1001):
            counter.add(j)
        counter.total %= 1000
    return counter.total


def strings(rounds):
    total = 0
    for _ in range(rounds):
        text = ""
        for j in range(1, 1001):
            text = text + str(j) + ","
        for j in range(1000):
            if text[j] == ",":
                total += 1
        total += len(text)
    return total


def arrays(rounds):
    total = 0
    for _ in range(rounds):
        items = []
        for j in range(1000):
            items.append(j * 7 % 1000)
        for j in range(1, 1000):
            items[j] = (items[j] + items[j - 1]) % 1000
        total += items[999]
    return total


def dictionaries(rounds):
    keys = [f"key{j}" for j in range(1000)]
    total = 0
    for i in range(1, rounds + 1):
        counts = {}
        for j in range(1000):
            counts[keys[j]] = j
        for j in range(1000):
            counts[keys[j]] = counts[keys[j]] + i
        total += counts["key500"]
    return total


def objects(rounds):
    total = 0
    for _ in range(rounds):
        items = []
        for j in range(1, 1001):
            items.append(Item("a", j))
        for item in items:
            total += item.value % 7
    return total


print(globals()[sys.argv[1]](int(sys.argv[2])))
