#!/usr/bin/env python3
"""Checks one property of the Debian packages. usage: check_packages.py [options] COMMAND

  contact    scripts/packages wants to know who maintains the packages, and leaves nothing behind without that
  build      scripts/packages builds them below --build, and lintian finds no error
  unpack     they are unpacked below --root
  contents   each package has the files that it should have, and no other
  control    names, dependencies, the file shlibs; no package has scripts
  objects    programs and libraries are stripped, and their debug information is where a debugger looks for it
  documents  changelogs and manual page are compressed as policy wants it; the copyright says that no licence is granted
  paths      no file names the folders that it was built in
  lintian    lintian's warnings are those that docs/packages.md gives reasons for
  zolget     zolget runs, with the library of its package

The commands after "build" look at what it left behind.
"""
import argparse
import gzip
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[3]
sys.path.append(str(SOURCE / "tests/integration/package"))
sys.dont_write_bytecode = True
from check_package import SHARED_OBJECTS, report  # noqa: E402

CONTACT = "Tests <tests@example.org>"
LIBRARIES = dict(name.split(".so.") for name in SHARED_OBJECTS)


def project_version():
    return re.search(r"^  VERSION (\S+)$", (SOURCE / "CMakeLists.txt").read_text(), re.M).group(1)


VERSION = project_version()


def architecture():
    return output_of("dpkg", "--print-architecture").strip()


def folder_of_libraries():
    return "usr/lib/" + output_of("dpkg-architecture", "-qDEB_HOST_MULTIARCH").strip()


def output_of(*command, **options):
    return subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE, timeout=280, check=True,
                          **options).stdout


def fresh(folder):
    shutil.rmtree(folder, ignore_errors=True)
    return folder


def packages(args):
    """The paths of all packages by their names."""
    return {path.name.partition("_")[0]: path for path in sorted((args.build / "deb").iterdir())}


def contact(args):
    problems = []
    wrong = [[], ["--contact", "Tests"], ["--contact", "tests@example.org"], ["--contact", "<tests@example.org>"]]
    for arguments in wrong:
        done = subprocess.run([SOURCE / "scripts/packages", "--build", args.build, *arguments], text=True, timeout=60,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
        if done.returncode != 2 or '--contact "Name <address>"' not in done.stderr:
            problems.append(f"with {arguments} it exits with {done.returncode} and says {done.stderr}")
        if args.build.exists():
            problems.append(f"with {arguments} it leaves {args.build} behind")
    report(problems, wrong)


def build(args):
    # What is looked at does not depend on optimisation, which takes longer than all the rest.
    environment = {**os.environ, "DEB_BUILD_OPTIONS": "noopt", "DEB_CXXFLAGS_APPEND": "-g1"}
    done = subprocess.run([SOURCE / "scripts/packages", "--contact", CONTACT, "--build", args.build], text=True,
                          env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=1700, check=False)
    if done.returncode != 0:
        sys.exit(f"scripts/packages: status {done.returncode}\n{done.stdout}")


def unpack(args):
    fresh(args.root)
    for path in packages(args).values():
        output_of("dpkg", "-x", path, args.root)


def documents_of(package):
    return {f"usr/share/doc/{package}/{name}" for name in ("changelog.gz", "changelog.Debian.gz", "copyright")}


def expected_contents(package):
    """The files and symbolic links of a package; of HTML pages, whose names are Doxygen's, the first."""
    libraries = folder_of_libraries()
    files = documents_of(package)
    if package == "libzol-http2":
        for name, number in LIBRARIES.items():
            version = VERSION if number == VERSION.partition(".")[0] else f"{number}.0.0"
            files |= {f"{libraries}/{name}.so.{number} -> {name}.so.{version}", f"{libraries}/{name}.so.{version}"}
    elif package == "libzol-http-dev":
        for name, number in LIBRARIES.items():
            files |= {f"{libraries}/{name}.so -> {name}.so.{number}", f"{libraries}/{name}.a"}
        files |= {f"{libraries}/cmake/zol_http/{name}.cmake" for name in (
            "zol_httpConfig", "zol_httpConfigVersion", "zol_http_targets", "zol_http_targets-none",
            "zol_http_static_targets", "zol_http_static_targets-none")}
        files.add(f"{libraries}/pkgconfig/zol_http.pc")
        for folder in SOURCE.glob("src/*/*/include"):
            files |= {f"usr/include/zol_http/{path.relative_to(folder)}" for path in folder.rglob("*.h*")}
    elif package == "libzol-http-doc":
        files |= {f"usr/share/doc/{package}/examples/{path.name}" for path in SOURCE.glob("examples/*.cpp")}
        files |= {f"usr/share/doc/{package}/html/index.html", f"usr/share/doc-base/{package}.reference"}
    elif package == "zolget":
        files |= {"usr/bin/zolget", "usr/share/man/man1/zolget.1.gz", "usr/share/bash-completion/completions/zolget"}
    return files


def contents(args):
    problems = []
    checked = []
    for package, path in packages(args).items():
        found = set()
        for line in output_of("dpkg", "-c", path).splitlines():
            mode, owner, _, _, _, name = line.split(maxsplit=5)
            name = name.removeprefix("./")
            wanted = {"d": "drwxr-xr-x", "l": "lrwxrwxrwx"}.get(mode[0],
                                                                "-rwxr-xr-x" if name.startswith("usr/bin/") else "-rw-r--r--")
            if mode != wanted or owner != "root/root":
                problems.append(f"{package}: {line}")
            if mode[0] != "d":
                found.add(name)
        checked += found
        if package == "libzol-http-doc":
            found = {name for name in found if not re.fullmatch(r"usr/share/doc/libzol-http-doc/html/(?!index\.html).+", name)}
        if package.endswith("-dbgsym"):
            found = {name for name in found if not re.fullmatch(r"usr/lib/debug/\.build-id/[0-9a-f]{2}/[0-9a-f]+\.debug", name)}
        expected = expected_contents(package)
        problems += [f"{package} lacks {name}" for name in sorted(expected - found)]
        problems += [f"{package} also has {name}" for name in sorted(found - expected)]
    report(problems, checked)


def control(args):
    same = f"(= {VERSION}-1)"
    # Architecture, and what the dependencies have to be, or to contain where dpkg-shlibdeps finds them.
    own = architecture()
    expected = {
        "libzol-http2": (own, ["libc6 (>= ", "libssl3 (>= 3.0", "libstdc++6 (>= ", "zlib1g (>= "]),
        "libzol-http-dev": (own, [f"libzol-http2 {same}", "libssl-dev (>= 3.0)", "zlib1g-dev"]),
        "libzol-http-doc": ("all", []),
        "zolget": (own, [f"libzol-http2 (>= {VERSION})", "libc6 (>= ", "libstdc++6 (>= "]),
        "libzol-http2-dbgsym": (own, [f"libzol-http2 {same}"]),
        "zolget-dbgsym": (own, [f"zolget {same}"]),
    }
    found = packages(args)
    problems = [] if set(found) == set(expected) else [f"the packages are {sorted(found)}"]
    for package, path in found.items():
        fields = dict(re.findall(r"^(\S+): (.*)$", output_of("dpkg-deb", "-f", path), re.M))
        kind, needed = expected[package]
        if path.name != f"{package}_{VERSION}-1_{kind}.deb":
            problems.append(f"{package} is in {path.name}")
        wanted = {"Package": package, "Version": f"{VERSION}-1", "Architecture": kind, "Maintainer": CONTACT,
                  "Source": "libzol-http"}
        problems += [f"{package} has {name} {fields.get(name)}" for name, value in wanted.items() if fields.get(name) != value]
        dependencies = re.split(", ", fields["Depends"]) if "Depends" in fields else []
        problems += [f"{package} does not depend on {word}" for word in needed
                     if not any(one.startswith(word) for one in dependencies)]
        if not needed and dependencies:
            problems.append(f"{package} depends on {dependencies}")
        output_of("dpkg-deb", "-e", path, fresh(args.root.with_name("control")))
        members = {member.name: member.read_text() for member in args.root.with_name("control").iterdir()}
        wanted = {"control", "md5sums"}
        if package == "libzol-http2":
            wanted |= {"shlibs", "triggers"}
            shlibs = "".join(f"{name} {number} libzol-http2 (>= {VERSION})\n" for name, number in LIBRARIES.items())
            if members.get("shlibs") != shlibs:
                problems.append(f"shlibs is\n{members.get('shlibs')}")
            if members.get("triggers") != "activate-noawait ldconfig\n":
                problems.append(f"triggers is\n{members.get('triggers')}")
        if set(members) != wanted:
            problems.append(f"{package} has, to control it, {sorted(members)}")
    report(problems, found)


def objects(args):
    files = [args.root / "usr/bin/zolget", *(args.root / folder_of_libraries()).glob("*.so.*.*.*")]
    if len(files) != 5:
        sys.exit(f"the objects are {files}")
    problems = []
    for path in files:
        sections = output_of("readelf", "-SW", path)
        problems += [f"{path} has {name}" for name in (".symtab", ".debug_info", ".comment") if f" {name} " in sections]
        tags = output_of("readelf", "-dW", path)
        problems += [f"{path} has {line}" for line in tags.splitlines() if "RUNPATH" in line or "RPATH" in line]
        number = re.search(r"Build ID: ([0-9a-f]+)", output_of("readelf", "-nW", path)).group(1)
        debug = args.root / f"usr/lib/debug/.build-id/{number[:2]}/{number[2:]}.debug"
        if not debug.exists() or " .debug_info " not in output_of("readelf", "-SW", debug):
            problems.append(f"{debug} is not the debug information of {path}")
    archives = list((args.root / folder_of_libraries()).glob("*.a"))
    for path in archives:
        if ".debug_info" in output_of("readelf", "-SW", path):
            problems.append(f"{path} has debug information")
        if re.search(r"^(?!r\S+ 0/0 +\d+ Jan +1 00:00 1970)", output_of("ar", "tv", path, env={**os.environ, "TZ": "UTC"}).strip(),
                     re.M):
            problems.append(f"{path} names who built it, and when")
    report(problems, files + archives)


def documents(args):
    problems = []
    folders = sorted((args.root / "usr/share/doc").iterdir())
    compressed = [args.root / "usr/share/man/man1/zolget.1.gz"]
    for folder in folders:
        compressed += [folder / "changelog.gz", folder / "changelog.Debian.gz"]
        words = " ".join((folder / "copyright").read_text().split())
        if "No licence has been granted yet; it is the owner's to choose." not in words:
            problems.append(f"{folder}/copyright says: {words}")
    for path in compressed:
        head = path.read_bytes()[:10]
        # RFC 1952, section 2.3: no flags (no name), no time, and 2 for the slowest algorithm.
        if head[:4] != b"\x1f\x8b\x08\x00" or head[4:8] != bytes(4) or head[8] != 2:
            problems.append(f"{path} begins with {head.hex()}")
    for path in compressed[1:]:
        text = gzip.decompress(path.read_bytes()).decode()
        if path.name == "changelog.gz":
            if text != (SOURCE / "CHANGELOG.md").read_text():
                problems.append(f"{path} is not CHANGELOG.md")
        elif not re.match(rf"libzol-http \({re.escape(VERSION)}-1\) \w+; urgency=\w+\n\n  \* .+\n\n"
                          rf" -- {CONTACT}  \w{{3}}, \d\d \w{{3}} \d{{4}} \d\d:\d\d:\d\d \+0000\n$", text):
            problems.append(f"{path} is\n{text}")
    if ".TH ZOLGET 1" not in gzip.decompress(compressed[0].read_bytes()).decode():
        problems.append(f"{compressed[0]} is not the manual page")
    report(problems, compressed)


def paths(args):
    folders = {os.fsencode(name) for folder in (SOURCE, args.build) for name in (folder, folder.resolve())}
    files = [path for path in args.root.rglob("*") if path.is_file() and not path.is_symlink()]
    report([f"{path} names {os.fsdecode(folder)}" for path in files for folder in folders if folder in path.read_bytes()], files)


def lintian(args):
    said = (args.build / "lintian.log").read_text().splitlines()
    problems = [f"lintian said: {line}" for line in said if not line.startswith("W: ")]
    found = {line.split()[2] for line in said if line.startswith("W: ")}
    table = re.search(r"^\| warning \|.*?\n\n", (SOURCE / "docs/packages.md").read_text(), re.M | re.S).group(0)
    explained = set(re.findall(r"^\| `([a-z-]+)` \|", table, re.M))
    problems += [f"docs/packages.md gives no reason for {tag}" for tag in sorted(found - explained)]
    problems += [f"docs/packages.md has a reason for {tag}, which lintian no longer warns of" for tag in sorted(explained - found)]
    report(problems, [*found, *explained, "log"])


def zolget(args):
    environment = {**os.environ, "LD_LIBRARY_PATH": str(args.root / folder_of_libraries())}
    version = output_of(args.root / "usr/bin/zolget", "--version", env=environment)
    loaded = output_of("ldd", args.root / "usr/bin/zolget", env=environment)
    problems = [] if version == f"zolget {VERSION}\n" else [f"zolget says it is {version}"]
    if f"libzol_http.so.2 => {args.root}/" not in loaded:
        problems.append(f"zolget loads\n{loaded}")
    report(problems, [version])


def main():
    commands = [contact, build, unpack, contents, control, objects, documents, paths, lintian, zolget]
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("command", choices=[command.__name__ for command in commands])
    parser.add_argument("--build", type=Path, required=True, help="folder that the packages are built in")
    parser.add_argument("--root", type=Path, help="folder that they are unpacked in")
    args = parser.parse_args()
    globals()[args.command](args)


if __name__ == "__main__":
    main()
