# Makes the files that the jobs work on, runs the peers in turn and prints the table; see `run`.
import os
import pathlib
import random
import resource
import shutil
import subprocess
import sys

HERE = pathlib.Path(__file__).resolve().parent
DATA = HERE.parents[1] / "build" / "bench" / "xml"
ROOT = os.environ.get("KOVA_PEERS")
DOCBOOK = "build/sysroot/usr/share/xml/docbook/stylesheet/docbook-xsl/html/docbook.xsl"
WORDS = "amber basin cedar delta ember fjord glade haven inlet juniper larch meadow otter pine quartz river".split()
PYTHON = "/usr/bin/python3"
EVENTS = "nothing elements all attributes text files"
TREES = "load walk texts find queries save append set"
SHEETS = "identity table groups small docbook"

# Name, a command that tells whether the library is there, the command, its jobs.
PEERS = [
    ("pyexpat", [PYTHON, "-c", "import pyexpat"], [PYTHON, "jobs_events.py"], EVENTS),
    ("LuaExpat", ["lua5.4", "-l", "lxp", "-e", ""], ["lua5.4", "jobs.lua"], EVENTS),
    ("Perl", ["perl", "-MXML::Parser", "-e", ""], ["perl", "jobs.pl"], EVENTS),
    ("PHP", ["php", "-r", "new XSLTProcessor;"], ["php", "jobs.php"], f"{EVENTS} {TREES} {SHEETS}"),
    ("tDOM", ["tclsh", "jobs.tcl", "append", ""], ["tclsh", "jobs.tcl"], f"{EVENTS} {TREES} identity table groups small"),
    ("ElementTree", [PYTHON, "-c", ""], [PYTHON, "jobs_trees.py"], TREES),
    ("lxml", [PYTHON, "-c", "import lxml"], [PYTHON, "jobs_trees.py", "--lxml"], f"{TREES} {SHEETS}"),
    ("Nokogiri", ["ruby", "-rnokogiri", "-e", ""], ["ruby", "jobs.rb"], f"{TREES} identity table groups small"),
]


def record(number, draw):
    name = f"{draw.choice(WORDS)} {draw.choice(WORDS)}"
    return (f'  <record id="r{number}" kind="{draw.choice(WORDS)}">\n    <name>{name}</name>\n'
            f'    <price currency="EUR">{draw.randrange(10000) / 100:.2f}</price>\n'
            f"    <note>{' '.join(draw.choices(WORDS, k=8))} &amp; more</note>\n  </record>\n")


def attributes(number, draw):
    values = " ".join(f'a{i}="{draw.choice(WORDS)}"' for i in range(12))
    return f'  <item n="{number}" {values}/>\n'


def write(name, root, megabytes, piece):
    draw = random.Random(1)
    path = DATA / name
    with open(path.with_suffix(".part"), "w", encoding="ascii") as file:
        file.write(f"<{root}>\n")
        number = 0
        while file.tell() < megabytes * 1e6:
            file.write(piece(number, draw))
            number += 1
        file.write(f"</{root}>\n")
    path.with_suffix(".part").rename(path)


def make_data():
    """The same files on every machine."""
    DATA.mkdir(parents=True, exist_ok=True)
    for name, root, megabytes, piece in (
            ("records.xml", "records", 32, record), ("tree.xml", "records", 10, record),
            ("group.xml", "records", 4, record), ("attributes.xml", "items", 16, attributes),
            ("text.xml", "text", 32, lambda _, draw: " ".join(draw.choices(WORDS, k=12)) + "\n")):
        if not (DATA / name).exists():
            write(name, root, megabytes, piece)
    if not (DATA / "files" / "10000.xml").exists():
        (DATA / "files").mkdir(exist_ok=True)
        draw = random.Random(1)
        for number in range(1, 10001):
            (DATA / "files" / f"{number}.xml").write_text(f"<records>\n{record(number, draw)}</records>\n")


def arguments(job):
    """File, and output or stylesheet."""
    files = {"nothing": "records.xml", "elements": "records.xml", "all": "records.xml", "attributes": "attributes.xml",
             "text": "text.xml", "files": "files", "groups": "group.xml"}
    source = DATA / files.get(job, "tree.xml")
    if job == "docbook":
        return [HERE.parents[1] / "examples/data/manual/book.xml", HERE.parents[1] / DOCBOOK]
    if job in SHEETS.split():
        return [source, HERE / "sheets" / f"{job}.xsl"]
    return [source, DATA / "saved.xml"] if job == "save" else [source]


def peers_of(build):
    yield "kova", [build / "kova", "run", HERE / "jobs.kova"], f"{EVENTS} {TREES} {SHEETS}".split()
    yield "C", [build / "floor"], f"{EVENTS} {TREES} {SHEETS}".split()
    # From another folder it finds the libraries as Debian compiles them only.
    packaged = build.parent / "packaged"
    packaged.mkdir(exist_ok=True)
    yield "C packaged", [shutil.copy2(build / "floor", packaged)], f"{TREES} {SHEETS}".split()
    yield "pugixml", [build / "pugi"], TREES.split()
    for name, trial, command, jobs in PEERS:
        for column, prefix in [(name, ["chroot", ROOT])] * bool(ROOT) + [(f"[{name}]", [])]:
            if works(prefix + with_path(trial)):
                yield column, prefix + with_path(command), jobs.split()
            else:
                print(f"{column} is not installed", file=sys.stderr)


def with_path(words):
    return [HERE / word if word.startswith("jobs") else word for word in words]


def works(command):
    try:
        return subprocess.run(command, capture_output=True).returncode == 0
    except FileNotFoundError:
        return False


def measure(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    run = subprocess.run(command, capture_output=True, text=True)
    if run.returncode != 0:
        sys.exit(f"{command}: {run.stderr}")
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, run.stdout.strip()


def main():
    build, runs, *jobs = sys.argv[1:]
    make_data()
    peers = list(peers_of(pathlib.Path(build).resolve()))
    columns = list(dict.fromkeys(name.strip("[]") for name, _, _ in peers[1:]))
    print("job          kova  " + "".join(f"{name:>13}" for name in columns))
    for job in jobs or f"{EVENTS} {TREES} {SHEETS}".split():
        taking_part = [(name, command) for name, command, does in peers if job in does]
        best = {name: float("inf") for name, _ in taking_part}
        results = {}
        for _ in range(int(runs)):
            for name, command in taking_part:
                seconds, results[name] = measure(command + [job] + arguments(job))
                best[name] = min(best[name], seconds)
        if len(set(results.values())) != 1:
            sys.exit(f"{job}: the results differ: {results}")
        ratio = {name: f"{best['kova'] / seconds:.2f}" for name, seconds in best.items()}
        cells = (f"{ratio.get(name, '')} {'[' + ratio[f'[{name}]'] + ']' if f'[{name}]' in ratio else ''}".strip()
                 for name in columns)
        print(f"{job:11}{best['kova']:6.2f} s" + "".join(f"{cell:>13}" for cell in cells), flush=True)


main()
