#!/usr/bin/env python3
"""Checks one property of an installed libzol_http. usage: check_package.py [options] COMMAND

  headers             every public header compiles alone, as C++17 and as C++20, without a warning, and zol/http.hpp
                      holds all of zol/
  versions            the shared objects carry their versions
  symbols             the shared objects export nothing outside the library's namespaces
  paths               no installed file names the folders that it was built in
  cmake_consumer      a program builds through find_package(zol_http), and runs
  pkgconfig_consumer  a program builds through the pkg-config module zol_http, and runs
  zolget              the installed zolget finds its libraries and fetches a page
"""

import argparse
import concurrent.futures
import os
import re
import shutil
import socket
import subprocess
import sys
import threading
from pathlib import Path

SHARED_OBJECTS = ["libzol_http.so.2", "libzolcommon.so.2", "libzol_openwbem.so.7", "libzol_blocxx.so.6"]
NAMESPACES = "6ZOLNS2|6blocxx|8OpenWBEM"
# What a symbol may begin with: tables, type information, thunks, guards and function-local statics included.
OWN = re.compile(rf"^_Z(T[VIST]|TC|GV|GR|T[hv]n?[0-9_n]+|Tc[hv0-9_n]+)?Z?N?[rVK]*[RO]?({NAMESPACES})")
# Weak instantiations of the standard library's templates, and type information of plain functions, go wherever they are
# used; the dynamic linker merges them.
STANDARD = re.compile(r"^_Z((T[VIST]|GV)?Z?N?[rVK]*[RO]?(S[tabsiod]|9__gnu_cxx|10__cxxabiv1)|T[IS](P|Do)*F)")


def run(command, **options):
    """Runs a command; prints what it wrote and ends the check when it fails."""
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=280, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}: status {done.returncode}\n{done.stdout}")
    return done.stdout


def report(problems, checked):
    if not checked:
        sys.exit("nothing was found to check")
    if problems:
        sys.exit("\n".join(problems))
    print(f"{len(checked)} checked")


def headers(args):
    root = args.prefix / "include/zol_http"
    names = sorted(str(path.relative_to(root)) for path in root.rglob("*.h*"))
    for expected in ("zol/http.hpp", "zol/http/HTTPClient.hpp", "blocxx/String.hpp", "openwbem/OW_HTTPUtils.hpp"):
        if expected not in names:
            sys.exit(f"{expected} is not installed")
    everything = run([args.compiler, "-std=c++17", f"-I{root}", "-M", "-x", "c++", root / "zol/http.hpp"])
    left_out = [name for name in names if name.startswith("zol/") and str(root / name) not in everything]
    if left_out:
        sys.exit("zol/http.hpp does not hold " + ", ".join(left_out))

    def compile_alone(job):
        name, standard = job
        # Twice, so that a header without guard shows.
        command = [args.compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
                   f"-I{root}", "-x", "c++", "-"]
        done = subprocess.run(command, input=f'#include "{name}"\n#include "{name}"\n', text=True, timeout=120,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return f"{name} as {standard}:\n{done.stdout}" if done.returncode else None

    jobs = [(name, standard) for name in names for standard in ("c++17", "c++20")]
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        report([problem for problem in pool.map(compile_alone, jobs) if problem], jobs)


def versions(args):
    problems = []
    for name in SHARED_OBJECTS:
        path = args.prefix / args.libdir / name
        if not path.exists():
            problems.append(f"{path} is missing")
            continue
        tags = run(["readelf", "-dW", path])
        if f"Library soname: [{name}]" not in tags:
            problems.append(f"{path} does not call itself {name}")
        link = path.with_name(name[:name.index(".so") + 3])
        if not link.is_symlink() or link.resolve() != path.resolve():
            problems.append(f"{link} does not lead to {path}")
    report(problems, SHARED_OBJECTS)


def symbols(args):
    problems = []
    checked = []
    for name in SHARED_OBJECTS:
        for line in run(["nm", "-D", "--defined-only", args.prefix / args.libdir / name]).splitlines():
            kind, symbol = line.split()[-2:]
            checked.append(symbol)
            if OWN.match(symbol) or (kind in "WVwvu" and STANDARD.match(symbol)):
                continue
            problems.append(f"{name} exports {kind} {run(['c++filt', symbol]).strip()} ({symbol})")
    report(problems, checked)


def paths(args):
    problems = []
    checked = []
    for path in sorted(args.prefix.rglob("*")):
        if path.is_symlink() or not path.is_file():
            continue
        checked.append(path)
        if ".so" in path.name or os.access(path, os.X_OK):
            # Debug information names sources, as it should; what the loader reads must not.
            text = run(["readelf", "-dW", path])
        else:
            text = path.read_text(encoding="utf-8")
        for folder in (args.source, args.build, args.prefix):
            if str(folder) in text:
                problems.append(f"{path} names {folder}")
    report(problems, checked)


class OneAnswerServer:
    """Answers each connection with the same bytes and keeps what the last one asked."""

    def __init__(self, answer):
        self.answer = answer
        self.request = b""
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.listener.settimeout(30)
        threading.Thread(target=self.serve, daemon=True).start()

    def serve(self):
        while True:
            connection, _ = self.listener.accept()
            with connection:
                connection.settimeout(30)
                self.request = b""
                while b"\r\n\r\n" not in self.request:
                    self.request += connection.recv(4096)
                connection.sendall(self.answer)

    def address(self):
        return "127.0.0.1:%d" % self.listener.getsockname()[1]


def use_consumer(program, environment=None):
    """Runs the consumer, which prints the body of a page or the message and code of what it caught."""
    environment = dict(os.environ, **(environment or {}))
    page = OneAnswerServer(b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello")
    problems = []
    output = run([program, page.address()], env=environment)
    if output != "text/plain\nhello\nlocal text\n":
        problems.append(f"the consumer printed {output!r}")
    if page.request != b"GET /page HTTP/1.1\r\nHost: consumer\r\n\r\n":
        problems.append(f"the consumer sent {page.request!r}")
    missing = OneAnswerServer(b"HTTP/1.1 404 Not Found\r\n\r\n")
    output = run([program, missing.address()], env=environment)
    if output != "HTTPException 404 Error response from http server: HTTP/1.1 404 Not Found\n":
        problems.append(f"for an error status the consumer printed {output!r}")
    report(problems, [page, missing])


def fresh(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def cmake_consumer(args):
    build = fresh(args.work)
    run([args.cmake, "-S", Path(__file__).parent / "consumer", "-B", build, f"-DCMAKE_PREFIX_PATH={args.prefix}",
         f"-DCMAKE_CXX_COMPILER={args.compiler}", f"-DCMAKE_CXX_FLAGS={args.flags}"])
    run([args.cmake, "--build", build])
    use_consumer(build / "consumer")


def pkgconfig_consumer(args):
    build = fresh(args.work)
    libraries = args.prefix / args.libdir
    environment = dict(os.environ, PKG_CONFIG_PATH=str(libraries / "pkgconfig"))
    flags = run(["pkg-config", "--cflags", "--libs", "zol_http"], env=environment).split()
    program = build / "consumer"
    run([args.compiler, "-std=c++17", *args.flags.split(), Path(__file__).parent / "consumer/consumer.cpp", *flags,
         "-o", program])
    use_consumer(program, {"LD_LIBRARY_PATH": str(libraries)})


def zolget(args):
    page = OneAnswerServer(b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello")
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    output = run([args.prefix / "bin/zolget", f"http://{page.address()}/page"], env=environment)
    report([] if output == "hello" else [f"zolget wrote {output!r}"], [page])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("command", choices=["headers", "versions", "symbols", "paths", "cmake_consumer",
                                            "pkgconfig_consumer", "zolget"])
    parser.add_argument("--prefix", type=Path, required=True, help="where the library is installed")
    parser.add_argument("--libdir", default="lib", help="the folder of libraries below the prefix")
    parser.add_argument("--compiler", default="c++")
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--flags", default="", help="compiler flags that the library was built with")
    parser.add_argument("--work", type=Path, help="folder to build consumers in; it is emptied first")
    parser.add_argument("--source", type=Path, help="folder that the library was built from")
    parser.add_argument("--build", type=Path, help="folder that the library was built in")
    args = parser.parse_args()
    globals()[args.command](args)


if __name__ == "__main__":
    main()
