"""What the figures depend on: processor, system, compiler, libraries. Neither the machine's name nor a path is told."""
import os
import platform
import re
import subprocess
from pathlib import Path


def processor():
    models = re.findall(r"^model name\s*: (.*)$", Path("/proc/cpuinfo").read_text(), re.M)
    return f"{models[0] if models else platform.machine()}, {os.cpu_count()} processors"


def system():
    release = platform.freedesktop_os_release().get("PRETTY_NAME", "an unknown distribution")
    version = re.match(r"[\d.]*\d", platform.release())
    return f"Linux {version.group() if version else ''}, {release}"


def versions(build_folder):
    """The compiler and the libraries of a build, by name."""
    lines = (build_folder / "benchmarks/versions.tsv").read_text().splitlines()
    return dict(line.split("\t") for line in lines)


def description(build_folder):
    """Pairs of a name and what it is here."""
    library = " ".join(platform.libc_ver())
    valgrind = subprocess.run(["valgrind", "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout
    return {"processor": processor(), "system": system(), **versions(build_folder), "C library": library,
            "valgrind": valgrind.strip().removeprefix("valgrind-")}
