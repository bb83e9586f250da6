"""usage: compare.py --hostile PROGRAM --names LIBRARY [--curl CURL] [--check] PAGE

Lets curl ask each server of the table in tests/hostile, with the limits that the row gives to exchange(), and writes PAGE:
what is promised of each row, and what curl made of it. LIBRARY resolves the scripted names (tests/support/names). With
--check curl is not run; fails unless PAGE has the rows of the table and their promises.
"""
import argparse
import math
import os
import re
import subprocess
import sys
import tempfile
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

# What curl(1) says of its exit codes, shortened.
EXIT_CODES = {
    1: "unsupported protocol", 3: "malformed URL", 5: "proxy not resolved", 6: "host not resolved",
    7: "not connected", 8: "weird server reply", 18: "cut", 22: "HTTP error", 23: "write error", 26: "read error",
    27: "out of memory", 28: "timed out", 35: "TLS handshake failed", 43: "internal error", 47: "too many redirects",
    52: "nothing received", 55: "sending failed", 56: "receiving failed", 58: "client's certificate",
    59: "cipher", 60: "certificate refused", 61: "bad content coding", 63: "too large", 65: "rewinding failed",
    77: "trust store", 78: "not found", 92: "stream error", 95: "stream error", 100: "header too large",
}

PREFACE = """# The hostile servers

Each row is a server of the table in tests/hostile, with what is promised of `exchange` and of `getPage`, and what {version}
made of the same server; the tests `Hostile/<row>.ThroughExchange` and `Hostile/<row>.ThroughGetPage` hold the promises, with
a bound on time and on memory each. What curl did is recorded, not promised, and no test asserts it. It was given the limits of
the row: the time of the connect and of a stall, the largest body, the most redirects; `--max-time` stands for the limit on
the head and for the deadline, neither of which it has. It was not told to read parts, so that a multipart body is one body.

In the column of `exchange` stand the status, what was delivered and how the body ended, or the phase and the cause of the
exception; behind a semicolon, the exception of the reading. In that of `getPage`, the status, what was delivered and
`bodyIsComplete()`, or the exception with its code. For curl, the status of the last head it read, the bytes it delivered and
its exit code if that is not 0.

This page is written by `tests/hostile/curl/compare.py`; a check sees that it has all rows with their promises.

| row | the server ... | exchange | getPage | curl |
|---|---|---|---|---|
"""


def rows_of(hostile):
    """The table's rows: name, deed, both promises, and a list of what a client has to know."""
    listed = subprocess.run([hostile, "--list"], stdout=subprocess.PIPE, text=True, check=True).stdout
    for line in listed.splitlines():
        name, deed, by_exchange, by_page, *facts = line.split("\t")
        yield name, deed, by_exchange, by_page, [fact.split("=", 1) for fact in facts]


def command_for(facts, port, trust, folder, curl):
    """The command line that asks as the row's client does."""
    known = dict(facts)
    limit = float(known["limit"])
    # curl counts whole seconds.
    patience = max(1, math.ceil(limit))
    command = [curl, "-q", "-sS", "--http1.1", "-o", f"{folder}/body", "-w", "%{http_code} %{size_download}",
               "--connect-timeout", known["connect"], "--speed-limit", "1", "--speed-time", str(patience),
               "--max-time", known.get("deadline", str(max(2, 2 * limit))), "--proto-redir", "=http,https",
               "-H", "Connection: close"]
    for name, value in facts:
        if name == "header":
            command += ["-H", value]
    if known["redirects"] != "0":
        command += ["-L", "--max-redirs", known["redirects"]]
    if known["decompress"] == "1":
        command += ["--compressed"]
    if "bodyLimit" in known:
        command += ["--max-filesize", known["bodyLimit"]]
    if known["trust"] == "0":
        command += ["--cacert", trust]
    elif known["trust"] == "3":
        command += ["--cacert", trust, "--crlfile", trust]
    elif known["trust"] == "2":
        command += ["-k"]
    if int(known["upload"]):
        Path(f"{folder}/upload").write_bytes(b"u" * int(known["upload"]))
        command += ["--data-binary", f"@{folder}/upload"]
        command += ["-H", "Expect: 100-continue" if known["expect"] == "1" else "Expect:"]
    elif known["method"] == "HEAD":
        command += ["-I"]
    return [*command, f"{known['scheme']}://{known['host']}:{port}/hostile"]


def outcome_of(row, chosen):
    """What curl makes of one row."""
    name, _, _, _, facts = row
    environment = {"PATH": os.environ.get("PATH", ""), "LD_PRELOAD": str(chosen.names.resolve()), "HOME": "/nonexistent"}
    with subprocess.Popen([chosen.hostile, "--serve", name], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True) as server, tempfile.TemporaryDirectory() as folder:
        port, trust = server.stdout.readline().split()
        try:
            done = subprocess.run(command_for(facts, port, trust, folder, chosen.curl), stdout=subprocess.PIPE,
                                  stderr=subprocess.DEVNULL, env=environment, timeout=60, check=False)
            status, size = done.stdout.decode().split()
            code = done.returncode
        except subprocess.TimeoutExpired:
            return "does not return"
        finally:
            server.stdin.close()
    text = f"{int(status)}, {size} bytes" if int(status) else ""
    if code:
        text += ("; " if text else "") + f"exit code {code} ({EXIT_CODES.get(code, 'see curl(1)')})"
    return text or "0 bytes"


def line_of(row, by_curl):
    name, deed, by_exchange, by_page, _ = row
    return f"| {name} | {deed} | {by_exchange} | {by_page} | {by_curl} |\n"


def problems_of(page, rows):
    """The rows that the page lacks, and those that it has too many, without the column of curl."""
    def known(line):
        return line.rsplit("|", 2)[0].rstrip()
    expected = {known(line_of(row, "")) for row in rows}
    found = {known(line) for line in page.splitlines() if re.match(r"\| [A-Z]\w+ \|", line)}
    yield from (f"the page lacks: {line}" for line in sorted(expected - found))
    yield from (f"the table has no such row: {line}" for line in sorted(found - expected))


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--hostile", required=True)
    parser.add_argument("--names", type=Path)
    parser.add_argument("--curl", default="curl")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("page", type=Path)
    chosen = parser.parse_args()
    rows = list(rows_of(chosen.hostile))
    if chosen.check:
        problems = list(problems_of(chosen.page.read_text(), rows))
        sys.exit("\n".join(problems) or 0)
    if chosen.names is None:
        parser.error("without --names the scripted names would be asked of the network")
    version = subprocess.run([chosen.curl, "--version"], stdout=subprocess.PIPE, text=True, check=True).stdout
    libraries = " ".join(version.split("\n", 1)[0].split()[3:5])
    with ThreadPoolExecutor(4) as pool:
        outcomes = list(pool.map(lambda row: outcome_of(row, chosen), rows))
    text = PREFACE.format(version=f"curl {version.split()[1]} ({libraries})")
    chosen.page.write_text(text + "".join(map(line_of, rows, outcomes)))


if __name__ == "__main__":
    main()
