#!/usr/bin/env python3
"""usage: scripts/instruction_count.py COMMAND...

Counts the user-space instructions of a program with callgrind, and prints two figures: what callgrind counts, and that
count with each repeated string instruction (rep movs, rep stos) taken once. callgrind takes every round of such an
instruction for one of its own, so that a large copy costs one a byte; to the processor the whole copy is one.
"""
import re
import subprocess
import sys
import tempfile
from pathlib import Path

REPEATED = re.compile(rb"\xf3(\x48?)[\xa4\xa5\xaa\xab]")


class CodeFile:
    """The code of a program or a shared object, by the addresses it is linked for."""

    def __init__(self, path):
        listing = subprocess.run(["readelf", "-lW", path], stdout=subprocess.PIPE, text=True, check=True).stdout
        loads = [line.split() for line in listing.splitlines() if line.split()[:1] == ["LOAD"]]
        self.segments = [(int(load[1], 16), int(load[2], 16), int(load[4], 16)) for load in loads]
        self.bytes = Path(path).read_bytes()

    def at(self, address):
        for offset, begin, size in self.segments:
            if begin <= address < begin + size:
                return self.bytes[offset + address - begin:offset + address - begin + 3]
        return b""


def costs_by_address(profile):
    """The instructions counted at each address of each object, those of called functions left out."""
    costs, code, is_call = {}, None, False
    for line in profile:
        if line.startswith("ob="):
            code = line[3:].strip()
        elif line.startswith("calls="):
            is_call = True
        elif line.startswith("0x"):
            if not is_call:
                address, _, cost = line.split()[:3]
                key = (code, int(address, 16))
                costs[key] = costs.get(key, 0) + int(cost)
            is_call = False
    return costs


def surplus(costs):
    """How many rounds of repeated instructions were counted beyond the instructions themselves."""
    total, files = 0, {}
    for (path, address), cost in costs.items():
        if path is None or not Path(path).is_file():
            continue
        if path not in files:
            files[path] = CodeFile(path)
        repeated = REPEATED.match(files[path].at(address))
        if repeated:
            # Control leaves such an instruction only towards the one after it.
            total += max(0, cost - costs.get((path, address + len(repeated.group(0))), 0))
    return total


def count(command):
    """What callgrind counts, and the same with repeated string instructions taken once."""
    with tempfile.TemporaryDirectory(prefix="instructions-") as folder:
        profile = Path(folder) / "profile"
        run = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={profile}", "--dump-instr=yes",
                              "--compress-pos=no", "--compress-strings=no", *map(str, command)],
                             stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=1800)
        found = re.search(r"Collected : (\d+)", run.stderr)
        if run.returncode != 0 or not found:
            sys.exit(f"{' '.join(map(str, command))} failed:\n{run.stderr}")
        counted = int(found.group(1))
        return counted, counted - surplus(costs_by_address(profile.read_text(errors="replace").splitlines()))


if __name__ == "__main__":
    print(*count(sys.argv[1:]))
