#!/usr/bin/env python3
"""usage: exported_symbols.py [--update] --libraries FOLDER --lists FOLDER

Compares what the shared libraries export with the lists, one for each library: functions, variables, vtables and type
informations line by line, without repetition (a constructor has two symbols of one name). What else is weak is an
instantiation of a template, which every program makes for itself: nothing of that kind may be exported. And sees that
a library looks its exported data up by name: the linker may have put them into the program.
"""
import argparse
import subprocess
import sys
from pathlib import Path

LIBRARIES = ["libzolcommon", "libzol_blocxx", "libzol_openwbem", "libzol_http"]
LISTED_ALTHOUGH_WEAK = ("typeinfo for ", "typeinfo name for ", "vtable for ", "VTT for ")
TABLES = ("_ZTI", "_ZTS", "_ZTT", "_ZTV")  # the same, as they stand in a library


def lines_of(*command):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE).stdout.splitlines()


def exported(library):
    """The demangled names of a library: those for its list, and weak ones that do not belong there."""
    lines = lines_of("nm", "-DC", "--defined-only", library)
    listed, weak = set(), set()
    for line in lines:
        kind, name = line.split(" ", 2)[1:]
        if kind.upper() in "WVU" and not name.startswith(LISTED_ALTHOUGH_WEAK):
            weak.add(name)
        else:
            listed.add(name)
    return listed, weak


def unshared_data(library):
    """The exported data that the library does not look up."""
    looked_up = set()
    for line in lines_of("readelf", "-rW", library):
        kind, *rest = line.split()[2:] or [""]
        if kind in ("R_X86_64_64", "R_X86_64_GLOB_DAT"):
            looked_up.add(rest[1])
    symbols = (line.split()[1:] for line in lines_of("nm", "-D", "--defined-only", library))
    return {name for kind, name in symbols if kind in "BDR" and not name.startswith(TABLES)} - looked_up


def problems_of(name, listed, weak, expected):
    problems = [f"{name} exports {symbol}, which is not listed" for symbol in sorted(listed - expected)]
    problems += [f"{name} no longer exports {symbol}" for symbol in sorted(expected - listed)]
    problems += [f"{name} exports an instantiation of a template: {symbol}" for symbol in sorted(weak)]
    return problems


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--libraries", type=Path, required=True)
    parser.add_argument("--lists", type=Path, required=True)
    args = parser.parse_args()
    problems = []
    for name in LIBRARIES:
        listed, weak = exported(args.libraries / f"{name}.so")
        path = args.lists / f"{name}.txt"
        if args.update:
            path.write_text("".join(f"{symbol}\n" for symbol in sorted(listed)))
        problems += problems_of(name, listed, weak, set(path.read_text().splitlines()))
        problems += [f"{name} exports {symbol}, which is missing in cmake/shared_data.list"
                     for symbol in sorted(unshared_data(args.libraries / f"{name}.so"))]
        print(f"{name}: {len(listed)} names")
    if problems:
        sys.exit("\n".join([*problems, "docs/abi.md says what to do."]))


if __name__ == "__main__":
    main()
