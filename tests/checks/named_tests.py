"""usage: named_tests.py --ctest PROGRAM --build FOLDER [--program TESTS]... PAGE

Fails unless each row of the page's tables names tests in its last column, and all of them exist in the build. A name is
that of GoogleTest, Suite.Test; of a parameterized test the instance before it and the parameter after it may be left out.
A name that begins with a dot stands in the suite of the one before it; "*" in a name stands for any text, and at least one
test must match. The tests of a program that ctest does not list one by one are asked of the program.
"""
import argparse
import fnmatch
import json
import re
import subprocess
import sys
from pathlib import Path


def forms_of(name):
    """All ways to write the test that ctest knows as <program>.<Instance>/<Suite>.<Test>/<Parameter>."""
    forms = {name}
    program, dot, test = name.partition(".")
    if not dot:
        return forms
    forms.add(test)
    suite, _, case = test.rpartition(".") if test.count(".") == 1 else test.partition(".")
    for own_suite in {suite, suite.rpartition("/")[2]}:
        for own_case in {case, case.partition("/")[0]}:
            forms.add(f"{own_suite}.{own_case}")
    return forms


def rows_of(text):
    """The names in the last column of each row of each table; a row's first column tells which it is."""
    for line in text.splitlines():
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip().strip("|"))]
        if not line.startswith("|") or len(cells) < 2 or cells[-1] == "test" or set("".join(cells)) <= set("-: "):
            continue
        names, suite = [], ""
        for name in re.findall(r"`([^`]+)`", cells[-1]):
            if name.startswith("."):
                name = suite + name
            suite = name.partition(".")[0]
            names.append(name)
        yield cells[0], names


def listed_by(text, program):
    """The tests in what a program of GoogleTest's prints for --gtest_list_tests, as ctest would name them."""
    suite = ""
    for line in text.splitlines():
        name = line.partition("  # ")[0].rstrip()
        if line.startswith("  "):
            yield f"{program}.{suite}{name.strip()}"
        elif name.endswith("."):
            suite = name


def exists(name, known):
    return any(fnmatch.filter(known, name)) if "*" in name else name in known


def problems_of(text, tests):
    known = {form for test in tests for form in forms_of(test)}
    rows = list(rows_of(text))
    if not rows:
        yield "no row names a test"
    for row, names in rows:
        if not names:
            yield f"no test is named for: {row}"
        yield from (f"{name} does not exist, named for: {row}" for name in names if not exists(name, known))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--ctest", required=True)
    parser.add_argument("--build", required=True)
    parser.add_argument("--program", action="append", default=[], type=Path)
    parser.add_argument("page", type=Path)
    chosen = parser.parse_args()
    listed = subprocess.run([chosen.ctest, "--test-dir", chosen.build, "--show-only=json-v1"], stdout=subprocess.PIPE,
                            text=True, timeout=280, check=True).stdout
    # CMake may leave what GoogleTest says of a parameter after the name of a case.
    tests = [test["name"].partition("  # ")[0] for test in json.loads(listed[listed.index("{"):])["tests"]]
    for program in chosen.program:
        listed = subprocess.run([program, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True, timeout=60,
                                check=True).stdout
        tests += listed_by(listed, program.name)
    problems = list(problems_of(chosen.page.read_text(), tests))
    if problems:
        sys.exit("\n".join([*problems, f"{len(problems)} findings; {len(tests)} tests are known"]))


if __name__ == "__main__":
    main()
