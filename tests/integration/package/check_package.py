#!/usr/bin/env python3
"""Checks one property of libzol_http, built or installed. usage: check_package.py [options] COMMAND

  headers             every public header compiles alone as C++17, and zol/http.hpp as C++20 and C++23 too, without a
                      warning; zol/http.hpp includes all of zol/; without run-time type information there is one error,
                      which says so
  versions            the shared objects carry their versions
  symbols             the shared objects export nothing outside the library's namespaces
  paths               no installed file names the folders that it was built in
  cmake_consumer      a program builds through find_package(zol_http), and runs
  static_component    a program builds through find_package(zol_http COMPONENTS static), and runs
  no_static_component find_package(zol_http COMPONENTS static) says so where the static libraries are not installed
  pkgconfig_consumer  a program builds through the pkg-config module zol_http, and runs
  zolget              the installed zolget finds its libraries and fetches a page; manual and completion are there
  subproject          as a part of another project the library leaves that project's settings alone, and brings neither
                      programs nor tests nor anything to install
  static_build        as a part of another project it is built static where that asks for it, a program links it and
                      runs; installs it below the prefix
  dependencies        each dependency that is missing is named with what needs it and how to do without
  make                "make" calls CMake alone, and "make install" installs what was built without building

With --static, the consumers are to be linked to the static libraries.
"""

import argparse
import concurrent.futures
import os
import re
import shlex
import shutil
import socket
import subprocess
import sys
import threading
from pathlib import Path

HERE = Path(__file__).resolve().parent
SHARED_OBJECTS = ["libzol_http.so.2", "libzolcommon.so.2", "libzol_openwbem.so.7", "libzol_blocxx.so.6"]
NAMESPACES = "6ZOLNS2|6blocxx|8OpenWBEM"
# What a symbol may begin with: tables, type information, thunks, guards and function-local statics included.
OWN = re.compile(rf"^_Z(T[VIST]|TC|GV|GR|T[hv]n?[0-9_n]+|Tc[hv0-9_n]+)?Z?N?[rVK]*[RO]?({NAMESPACES})")
# Weak instantiations of the standard library's templates, and type information of plain functions, go wherever they are
# used; the dynamic linker merges them.
STANDARD = re.compile(r"^_Z((T[VIST]|GV)?Z?N?[rVK]*[RO]?(S[tabsiod]|9__gnu_cxx|10__cxxabiv1)|T[IS](P|Do)*F)")


def run(command, timeout=280, **options):
    """Runs a command; prints what it wrote and ends the check when it fails."""
    done = subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=timeout, check=False, **options)
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
    everything = everything.replace("\\ ", " ")  # as make wants to read a blank in a name
    left_out = [name for name in names if name.startswith("zol/") and str(root / name) not in everything]
    if left_out:
        sys.exit("zol/http.hpp does not include " + ", ".join(left_out))

    def compile_alone(job):
        name, standard = job
        # Twice, so that a header without guard shows.
        command = [args.compiler, f"-std={standard}", "-Wall", "-Wextra", "-Wpedantic", "-Werror", "-fsyntax-only",
                   f"-I{root}", "-x", "c++", "-"]
        done = subprocess.run(command, input=f'#include "{name}"\n#include "{name}"\n', text=True, timeout=120,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        return f"{name} as {standard}:\n{done.stdout}" if done.returncode else None

    jobs = [(name, "c++17") for name in names]
    jobs += [("zol/http.hpp", standard) for standard in ("c++20", "c++2b")]
    with concurrent.futures.ThreadPoolExecutor(max_workers=os.cpu_count()) as pool:
        problems = [problem for problem in pool.map(compile_alone, jobs) if problem]

    without_types = subprocess.run([args.compiler, "-std=c++17", "-fno-rtti", "-fsyntax-only", f"-I{root}", "-x", "c++",
                                    root / "zol/http.hpp"], text=True, timeout=120, stdout=subprocess.PIPE,
                                   stderr=subprocess.STDOUT, check=False).stdout
    errors = [line for line in without_types.splitlines() if " error: " in line]
    if len(errors) != 1 or "-fno-rtti" not in errors[0]:
        problems.append(f"zol/http.hpp without run-time type information:\n{without_types}")
    report(problems, jobs)


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
    folders = {path for folder in (args.source, args.build, args.prefix) for path in (str(folder), str(folder.resolve()))}
    problems = []
    checked = []
    for path in sorted(args.prefix.rglob("*")):
        if path.is_symlink() or not path.is_file():
            continue
        checked.append(path)
        content = path.read_bytes()
        problems += [f"{path} names {folder}" for folder in sorted(folders) if os.fsencode(folder) in content]
    report(problems, checked)


class OneResponseServer:
    """Responds to each connection with the same bytes and keeps its last request."""

    def __init__(self, response):
        self.response = response
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
                connection.sendall(self.response)

    def address(self):
        return "127.0.0.1:%d" % self.listener.getsockname()[1]


def use_consumer(args, program, environment=None):
    """Runs the consumer, which prints the body of a page or the message and code of what it caught."""
    environment = dict(os.environ, **(environment or {}))
    page = OneResponseServer(b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello")
    problems = []
    output = run([program, page.address()], env=environment)
    if output != "text/plain\nhello\nlocal text\n":
        problems.append(f"the consumer printed {output!r}")
    if page.request != b"GET /page HTTP/1.1\r\nHost: consumer\r\n\r\n":
        problems.append(f"the consumer sent {page.request!r}")
    missing = OneResponseServer(b"HTTP/1.1 404 Not Found\r\n\r\n")
    output = run([program, missing.address()], env=environment)
    if output != "HTTPException 404 Error response from http server: HTTP/1.1 404 Not Found\n":
        problems.append(f"for an error status the consumer printed {output!r}")
    tags = run(["readelf", "-dW", program])
    is_static = not any(name in tags for name in SHARED_OBJECTS)
    if is_static != args.static:
        problems.append(f"the consumer loads, of {SHARED_OBJECTS}: {tags}")
    report(problems, [page, missing])


def fresh(folder):
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


def configure(args, source, build, *options, environment=None):
    """Has CMake configure a folder with the compiler that the library was built with; returns how that ended."""
    command = [args.cmake, "-G", args.generator, "-S", source, "-B", build, f"-DCMAKE_CXX_COMPILER={args.compiler}",
               f"-DCMAKE_CXX_COMPILER_LAUNCHER={args.launcher}", f"-DCMAKE_CXX_FLAGS={args.flags}", *options]
    return subprocess.run([str(word) for word in command], text=True, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, timeout=280, check=False, env=environment)


def configured(args, source, build, *options):
    done = configure(args, source, build, *options)
    if done.returncode != 0:
        sys.exit(f"{source} could not be configured with {' '.join(map(str, options))}:\n{done.stdout}")


def cmake_consumer(args):
    build = fresh(args.work)
    configured(args, HERE / "consumer", build, f"-DCMAKE_PREFIX_PATH={args.prefix}")
    run([args.cmake, "--build", build])
    use_consumer(args, build / "consumer")


def static_component(args):
    build = fresh(args.work)
    configured(args, HERE / "consumer", build, f"-DCMAKE_PREFIX_PATH={args.prefix}", "-DCOMPONENT=static")
    run([args.cmake, "--build", build])
    args.static = True  # whatever else is installed there
    use_consumer(args, build / "consumer")


def no_static_component(args):
    done = configure(args, HERE / "consumer", fresh(args.work), f"-DCMAKE_PREFIX_PATH={args.prefix}", "-DCOMPONENT=static")
    problems = []
    if done.returncode == 0 or 'component "static" is not installed' not in " ".join(done.stdout.split()):
        problems.append(f"find_package ended with status {done.returncode}:\n{done.stdout}")
    report(problems, [done])


def pkgconfig_consumer(args):
    build = fresh(args.work)
    libraries = args.prefix / args.libdir
    environment = dict(os.environ, PKG_CONFIG_PATH=str(libraries / "pkgconfig"))
    static = ["--static"] if args.static else []
    flags = shlex.split(run(["pkg-config", "--cflags", "--libs", *static, "zol_http"], env=environment))
    program = build / "consumer"
    run([args.compiler, "-std=c++17", *shlex.split(args.flags), HERE / "consumer/consumer.cpp", *flags,
         "-o", program])
    use_consumer(args, program, {"LD_LIBRARY_PATH": str(libraries)})


def subproject(args):
    # The project itself compares its settings before and after, and lists targets and tests.
    build = fresh(args.work)
    configured(args, HERE / "subproject", build, f"-DZOL_SOURCE={args.source}", "-DFIND_FIRST=ON")
    # Nothing is built yet, so anything to be installed is either found missing or found installed.
    run([args.cmake, "--install", build, "--prefix", build / "prefix"])
    report(["there is something to install"] if (build / "prefix").exists() else [], [build])


def static_build(args):
    # The build folder is kept: a second run compiles only what has changed.
    build = args.work
    configured(args, HERE / "subproject", build, f"-DZOL_SOURCE={args.source}", "-DZOL_INSTALL=ON",
               "-DBUILD_SHARED_LIBS=OFF", "-DCMAKE_BUILD_TYPE=Debug", f"-DCMAKE_INSTALL_LIBDIR:PATH={args.libdir}")
    run([args.cmake, "--build", build, "--parallel", os.cpu_count()], timeout=1700)
    fresh(args.prefix)
    run([args.cmake, "--install", build, "--prefix", args.prefix])
    use_consumer(args, build / "consumer")


def dependencies(args):
    tools = "-DZOL_BUILD_TOOLS=OFF"
    tests = "-DZOL_BUILD_TESTS=OFF"
    peers = "-DZOL_BENCHMARK_PEERS=OFF"
    # The package that CMake is told not to find, and what has to be in the one sentence about it.
    packages = {
        "OpenSSL": ("OpenSSL 3.0 or newer is missing", "TLS", "libssl-dev", "cannot be built without"),
        "ZLIB": ("zlib is missing", "compressed bodies", "zlib1g-dev", "cannot be built without"),
        "CLI11": ("CLI11 is missing", "zolget", "libcli11-dev", tools),
        "GTest": ("GoogleTest is missing", "The tests", "libgtest-dev", tests),
        "Python3": ("Python 3 is missing", "The tests", "python3", tests),
        "Boost": ("Boost 1.81 or newer is missing", "The benchmarks", "libboost1.81-dev", peers),
        "CURL": ("libcurl is missing", "The benchmarks", "libcurl4-openssl-dev", peers),
        "Poco": ("Poco is missing", "The benchmarks", "libpoco-dev", peers),
        "benchmark": ("Google Benchmark is missing", "The program micro", "libbenchmark-dev", peers),
        "GMime": ("GMime 3.0 (found through pkg-config) is missing", "The benchmarks", "pkg-config", peers),
    }
    # GMime is found by pkg-config, which is given a folder without modules.
    environment = dict(os.environ, PKG_CONFIG_LIBDIR=str(HERE), PKG_CONFIG_PATH="")
    disabled = [f"-DCMAKE_DISABLE_FIND_PACKAGE_{name}=ON" for name in packages]
    done = configure(args, args.source, fresh(args.work), "-DZOL_BUILD_BENCHMARKS=ON", *disabled,
                     environment=environment)
    # CMake breaks the lines of a message at blanks.
    said = " ".join(done.stdout.split())
    problems = [] if done.returncode != 0 else ["nothing of what is missing is needed"]
    for words in packages.values():
        # From the name to the next dependency's.
        start = said.find(words[0])
        sentence = said[start:said.find(" is missing", start + len(words[0]))] if start >= 0 else ""
        problems += [f"{words[0]!r} is said without {word!r}" for word in words if word not in sentence]
    if problems:
        problems.append(done.stdout)

    # The options that the messages name keep their promise.
    options = [tools, tests, "-DZOL_BUILD_BENCHMARKS=ON", peers]
    needless = [option for option in disabled if not option.endswith(("OpenSSL=ON", "ZLIB=ON"))]
    done = configure(args, args.source, fresh(args.work), *options, *needless, environment=environment)
    if done.returncode != 0:
        problems.append(f"with {options} it still needs:\n{done.stdout}")
    report(problems, packages)


def make(args):
    work = fresh(args.work)
    # Programs that neither target may use, and a cmake that only tells how it was called.
    commands = work / "commands"
    commands.mkdir()
    for name in ("apt-get", "sudo", "su", "dpkg", "dpkg-query"):
        (commands / name).write_text(f"#!/bin/sh\necho CALLED {name}\nexit 1\n")
    (commands / "cmake").write_text("#!/bin/sh\necho cmake \"$@\"\n")
    for path in commands.iterdir():
        path.chmod(0o755)
    quiet = dict(os.environ, PATH=f"{commands}:{os.environ['PATH']}", MAKEFLAGS="")
    problems = []
    make_here = ["make", "--no-print-directory", "-C", args.source]
    output = run([*make_here, "--silent", f"BUILD={work}/build", f"PREFIX={work}/prefix"], env=quiet)
    expected = (f"cmake --preset install -B {work}/build -DCMAKE_INSTALL_PREFIX={work}/prefix\n"
                f"cmake --build {work}/build\n")
    if output != expected:
        problems.append(f"make did:\n{output}")

    # What was built is installed without the tools that could build it.
    (commands / "cmake").unlink()
    (commands / "cmake").symlink_to(shutil.which(args.cmake))
    for name in ("ninja", "make", "c++", "g++", "clang++", Path(args.compiler).name):
        if not (commands / name).exists() and name != "make":
            (commands / name).symlink_to("apt-get")
    output = run([*make_here, "install", f"BUILD={args.build}", f"PREFIX={work}/prefix", "DESTDIR="], env=quiet)
    if "CALLED" in output:
        problems.append(f"make install did:\n{output}")
    if not (work / "prefix" / args.libdir / "libzol_http.so.2").exists():
        problems.append(f"make install did not install the library:\n{output}")

    done = subprocess.run([*map(str, make_here), "install", f"BUILD={work}/none"], text=True, env=quiet, timeout=60,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode == 0 or "nothing is built yet; run make first" not in done.stdout:
        problems.append(f"make install without a build: {done.stdout}")
    report(problems, [expected, output])


def zolget(args):
    page = OneResponseServer(b"HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nContent-Length: 5\r\n\r\nhello")
    environment = {name: value for name, value in os.environ.items() if name != "LD_LIBRARY_PATH"}
    output = run([args.prefix / "bin/zolget", f"http://{page.address()}/page"], env=environment)
    problems = [] if output == "hello" else [f"zolget wrote {output!r}"]
    pages = [args.prefix / "share/man/man1/zolget.1", args.prefix / "share/bash-completion/completions/zolget"]
    for path in pages:
        if not path.exists() or "max" not in path.read_text():
            problems.append(f"{path} is not installed or does not name the options")
    report(problems, [page, *pages])


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("command", choices=["headers", "versions", "symbols", "paths", "cmake_consumer",
                                            "static_component", "no_static_component", "pkgconfig_consumer", "zolget", "subproject", "static_build",
                                            "dependencies", "make"])
    parser.add_argument("--prefix", type=Path, required=True, help="where the library is installed")
    parser.add_argument("--static", action="store_true", help="what is installed there are the static libraries")
    parser.add_argument("--libdir", default="lib", help="the folder of libraries below the prefix")
    parser.add_argument("--compiler", default="c++")
    parser.add_argument("--launcher", default="", help="program that the compiler is called through")
    parser.add_argument("--cmake", default="cmake")
    parser.add_argument("--generator", default="Unix Makefiles", help="the build system CMake writes for")
    parser.add_argument("--flags", default="", help="compiler flags that the library was built with")
    parser.add_argument("--work", type=Path, help="folder to build in")
    parser.add_argument("--source", type=Path, help="folder that the library was built from")
    parser.add_argument("--build", type=Path, help="folder that the library was built in")
    args = parser.parse_args()
    globals()[args.command](args)


if __name__ == "__main__":
    main()
