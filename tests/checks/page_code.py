"""usage: page_code.py --compiler PROGRAM --include FOLDER... PAGE

Fails unless the lines of C++ in the tables of a page compile: the inline code of each second column that ends like a
statement.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

# What the lines may use. A page says what the names stand for.
AROUND = """
#include "blocxx/Socket.hpp"
#include "zol/http.hpp"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <utility>

using namespace ZOLNS2;

void checkDigest();

struct Names
{
    const HTTP::Url& url;
    const HTTP::RequestLine& line;
    HTTP::Headers& headers;
    const HTTP::Request& request;
    HTTP::Response& response;
    const HTTP::ExchangeResponse& reply;
    HTTP::ExchangeOptions& options;
    const MIME::ContentRef& content;
    const MIME::ContentStreamStateRef& state;
    MIME::ContentTypeHeader& type;
    MIME::MultipartReader& parts;
    const std::optional<MIME::MultipartPart>& part;
    std::istream& body;
    std::ofstream& file;
    blocxx::Socket& socket;
    const blocxx::Timeout& timeout;
    const blocxx::Array<char>& bytes;
    const blocxx::String& name;
    const blocxx::String& value;
    const std::string& text;
    BIO* bio;
    char (&buffer)[4096];
"""


def lines_of(text):
    """(row, code) of each statement in the second column of a table."""
    for line in text.splitlines():
        cells = [cell.strip() for cell in re.split(r"(?<!\\)\|", line.strip().strip("|"))]
        if line.startswith("|") and len(cells) > 2:
            for code in re.findall(r"`([^`]+)`", cells[1]):
                if code.endswith((";", "}")):
                    yield cells[0], code.replace("\\|", "|")


def program_of(lines):
    """A program with each line in a function of its own, and on a source line named after it."""
    functions = "".join(f'#line {number} "line"\n    void line{number}() {{ {{ {code} }} }}\n'
                        for number, (_, code) in enumerate(lines, 1))
    return AROUND + functions + "};\n"


def problems_of(text, compiler, folders):
    lines = list(lines_of(text))
    if not lines:
        yield "no line is shown"
        return
    done = subprocess.run([compiler, "-std=c++17", "-fsyntax-only", *(f"-I{folder}" for folder in folders),
                           "-x", "c++", "-"], input=program_of(lines), text=True, timeout=280,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    for number in sorted({int(found) for found in re.findall(r"^line:(\d+):\d+: error", done.stdout, re.M)}):
        yield f"{lines[number - 1][1]} does not compile, shown for: {lines[number - 1][0]}"
    if done.returncode != 0:
        yield done.stdout


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--include", action="append", default=[])
    parser.add_argument("page", type=Path)
    chosen = parser.parse_args()
    problems = list(problems_of(chosen.page.read_text(), chosen.compiler, chosen.include))
    if problems:
        sys.exit("\n".join(problems))


if __name__ == "__main__":
    main()
