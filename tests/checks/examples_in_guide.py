"""usage: examples_in_guide.py GUIDE EXAMPLES TESTS

Fails unless the guide links to every program of the folder EXAMPLES, each of which is short, begins with a line that says
what it does and how it is called, and is run by a source in the folder TESTS.
"""
import argparse
import re
import sys
from pathlib import Path

MOST_LINES = 60


def problems_of(guide, programs, tests):
    """@param programs the texts by name; @param tests the text of all tests"""
    if not programs:
        yield "there is no program"
    linked = set(re.findall(r"\]\([^)]*examples/(\w+)\.cpp\)", guide))
    for name, text in sorted(programs.items()):
        lines = text.splitlines()
        comment = " ".join(line[2:].strip() for line in lines[:2] if line.startswith("//"))
        usage = re.search(rf": ({name}\b.*)$", comment)
        shown = re.search(r'usage: ([^\\"]*)', text)
        if name not in linked:
            yield f"{name} is not in the guide"
        if len(lines) > MOST_LINES:
            yield f"{name} has {len(lines)} lines"
        if not usage:
            yield f"{name} does not say in its first lines how it is called"
        elif shown and shown.group(1) != usage.group(1):
            yield f'{name} is called as "{usage.group(1)}" and says "{shown.group(1)}"'
        if f'"{name}"' not in tests:
            yield f"{name} is not run by a test"
    yield from (f"{name} is in the guide and not among the programs" for name in sorted(linked - set(programs)))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("guide", type=Path)
    parser.add_argument("examples", type=Path)
    parser.add_argument("tests", type=Path)
    chosen = parser.parse_args()
    programs = {path.stem: path.read_text() for path in chosen.examples.glob("*.cpp")}
    tests = "".join(path.read_text() for path in chosen.tests.glob("*.cpp"))
    problems = list(problems_of(chosen.guide.read_text(), programs, tests))
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
