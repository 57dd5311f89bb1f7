# The table that `run` prints.
import os
import resource
import shutil
import subprocess
import sys

ROUNDS = {"loops": 20000, "calls": 5000, "methods": 20000, "strings": 2000, "arrays": 8000, "dictionaries": 1500,
          "objects": 2500}
FOLDER = os.path.dirname(os.path.abspath(__file__))


def measure(command):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    result = subprocess.run(command, check=True, capture_output=True, text=True).stdout.strip()
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, result


def main():
    runs = int(sys.argv[2])
    peers = {"kova": [sys.argv[1], "run", FOLDER + "/work.kova"]}
    for name, program, script in (("lua", "lua5.4", "work.lua"), ("python", "/usr/bin/python3", "work.py")):
        if shutil.which(program):
            peers[name] = [program, os.path.join(FOLDER, script)]
        else:
            print(program + " is not installed", file=sys.stderr)
    print("work         " + "".join(f"{name:>9}" for name in peers)
          + "".join(f"   kova/{name}" for name in peers if name != "kova"))
    for work, rounds in ROUNDS.items():
        best = dict.fromkeys(peers, float("inf"))
        results = set()
        for _ in range(runs):
            for name, command in peers.items():
                seconds, result = measure(command + [work, str(rounds)])
                best[name] = min(best[name], seconds)
                results.add(result)
        if len(results) != 1:
            sys.exit(f"{work}: the results differ: {results}")
        ratios = [f"{best['kova'] / best[name]:{len(name) + 8}.2f}" for name in peers if name != "kova"]
        print(f"{work:13}" + "".join(f"{seconds:7.2f} s" for seconds in best.values()) + "".join(ratios))


main()
