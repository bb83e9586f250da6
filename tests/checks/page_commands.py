"""usage: page_commands.py [--zolget PROGRAM] PAGE...

Fails unless what the code blocks of the pages tell readers to type is there: scripts and their options, make's targets,
presets, programs of the build, corpora, and the pages and headers that are linked or included. With --zolget the options
of zolget are looked up in its help instead.
"""
import argparse
import json
import re
import shlex
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def commands_of(text):
    """The commands of the shell in code blocks without a language, and in inline code that begins like one."""
    for language, block in re.findall(r"^```(\w*)\n(.*?)^```$", text, re.M | re.S):
        for line in block.splitlines() if language in ("", "sh", "console") else []:
            for command in re.split(r"&&|;|\|", re.sub(r"(^|\s)#.*", "", line)):
                if command.strip():
                    yield command.strip()
    prose = re.sub(r"^```.*?^```$", "", text, flags=re.M | re.S)
    for code in re.findall(r"`([^`]+)`", prose):
        code = " ".join(code.split())
        if re.match(r"(scripts/|make |cmake -|build/|zolget )", code) and "<" not in code:
            yield code


def presets():
    return {preset["name"] for preset in json.loads((ROOT / "CMakePresets.json").read_text())["configurePresets"]}


def fuzz_targets():
    listed = re.search(r"set\(targets ([^)]*)\)", (ROOT / "tests/fuzz/CMakeLists.txt").read_text())
    return {f"fuzz_{name}" for name in listed.group(1).split()}


def make_targets():
    text = re.sub(r"\\\n", " ", (ROOT / "Makefile").read_text())
    return {name for line in re.findall(r"^([^\t\n#.=:][^=:\n]*):(?!=)", text, re.M) for name in line.split()}


def problem_of(command):
    """What is wrong with a command, or None."""
    words = shlex.split(command)
    if words[0] == "sudo":
        words = words[1:]
    program, arguments = words[0], words[1:]
    if program.startswith(("scripts/", ".ci/")):
        script = ROOT / program
        if not script.is_file() or not script.stat().st_mode & 0o100:
            return f"{program} is no script"
        unknown = [a for a in arguments if a.startswith("--") and a not in script.read_text()]
        if unknown:
            return f"{program} does not know {unknown[0]}"
        if "--preset" in arguments and arguments[arguments.index("--preset") + 1] not in presets():
            return "there is no such preset"
    elif program == "make":
        unknown = [a for a in arguments if "=" not in a and not a.startswith("-") and a not in make_targets()]
        if unknown:
            return f"make has no target {unknown[0]}"
    elif program in ("cmake", "ctest"):
        for option, name in zip(arguments, arguments[1:]):
            if option == "--preset" and name not in presets():
                return f"there is no preset {name}"
        for name in re.findall(r"-D(ZOL_\w+)=", command):
            if not any(name in path.read_text() for path in [ROOT / "CMakeLists.txt", *(ROOT / "cmake").glob("*.cmake")]):
                return f"{name} is not an option of the build"
    elif program.startswith("build/"):
        preset, name = program.split("/")[1], Path(program).name
        if preset not in presets() or (name.startswith("fuzz_") and name not in fuzz_targets()):
            return f"{program} is not built"
        missing = [a for a in arguments if re.match(r"(tests|src|docs)/", a) and not (ROOT / a).exists()]
        if missing:
            return f"{missing[0]} is not there"
    elif program == "zolget":
        return None
    elif program in ("man", "git", "ldconfig", "mkdir", "pkg-config", "c++", "apt-get"):
        return None
    else:
        return f"{program} is not a command that this page may use without a check"
    return None


def links_of(page, text):
    for target in re.findall(r"\]\((?!https?:)([^)#]+)", text):
        if not (page.parent / target).exists():
            yield f"the link to {target} leads nowhere"


def headers_of(text):
    for name in re.findall(r'#include "((?:zol|blocxx|openwbem)/[^"]+)"', text):
        if not any(ROOT.glob(f"src/*/*/include/{name}")):
            yield f"there is no header {name}"


def unknown_options(program, text):
    """The options in commands of zolget that its help does not list."""
    help_text = subprocess.run([program, "--help"], stdout=subprocess.PIPE, text=True, timeout=30, check=True).stdout
    known = set(re.findall(r"(?<![\w-])--?[\w-]+", help_text))
    commands = [c for c in commands_of(text) if c.startswith("zolget ")]
    if not commands:
        yield "no command of zolget is shown"
    for command in commands:
        for word in shlex.split(command)[1:]:
            if re.match(r"--?[a-zA-Z]", word) and word.partition("=")[0] not in known:
                yield f"{command}: zolget does not know {word}"


def problems_of(page, text):
    commands = list(commands_of(text))
    if not commands:
        yield "no command is shown"
    for command in commands:
        problem = problem_of(command)
        if problem:
            yield f"{command}: {problem}"
    yield from links_of(page, text)
    yield from headers_of(text)


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--zolget")
    parser.add_argument("pages", nargs="+", type=Path)
    chosen = parser.parse_args()
    problems = []
    for page in chosen.pages:
        text = page.read_text()
        found = unknown_options(chosen.zolget, text) if chosen.zolget else problems_of(page, text)
        problems += [f"{page}: {problem}" for problem in found]
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
