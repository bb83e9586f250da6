"""User-space instructions of a program, counted by callgrind.

callgrind takes every round of a repeated string instruction (rep movs, rep stos) for one of its own, so that a large copy
costs one a byte. To the processor the whole copy is one: `Profile.once` counts it so.
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


class Profile:
    """The instructions of one run: `costs` has those at each address of each object."""

    def __init__(self, lines):
        self.costs = {}
        code, is_call = None, False
        for line in lines:
            if line.startswith("ob="):
                code = line[3:].strip()
            elif line.startswith("calls="):
                is_call = True
            elif line.startswith("0x"):
                # The line behind "calls=" holds what the called function cost; it is counted in that function.
                if not is_call:
                    address, _, cost = line.split()[:3]
                    key = (code, int(address, 16))
                    self.costs[key] = self.costs.get(key, 0) + int(cost)
                is_call = False

    @property
    def total(self):
        return sum(self.costs.values())

    @property
    def once(self):
        """The total with each repeated string instruction taken once."""
        return self.total - self._surplus()

    def below(self, folder):
        """The instructions of the objects in a folder and the folders below it."""
        inside = {code: bool(code) and Path(code).is_relative_to(folder) for code in {code for code, _ in self.costs}}
        return sum(cost for (code, _), cost in self.costs.items() if inside[code])

    def _surplus(self):
        surplus, files = 0, {}
        for (path, address), cost in self.costs.items():
            if path is None or not Path(path).is_file():
                continue
            if path not in files:
                files[path] = CodeFile(path)
            repeated = REPEATED.match(files[path].at(address))
            if repeated:
                # Control leaves such an instruction only towards the one after it.
                surplus += max(0, cost - self.costs.get((path, address + len(repeated.group(0))), 0))
        return surplus


def profile(command):
    """The profile of one run of a command. Ends this process if the command fails."""
    with tempfile.TemporaryDirectory(prefix="callgrind-") as folder:
        output = Path(folder) / "profile"
        run = subprocess.run(["valgrind", "--tool=callgrind", f"--callgrind-out-file={output}", "--dump-instr=yes",
                              "--compress-pos=no", "--compress-strings=no", *map(str, command)],
                             stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True, timeout=1800, check=False)
        if run.returncode != 0:
            sys.exit(f"benchmark: {' '.join(map(str, command))} failed:\n{run.stderr}")
        return Profile(output.read_text(errors="replace").splitlines())
