"""usage: example_code.py --compiler PROGRAM --include FOLDER... [PAGE...]

Fails unless the examples compile: those (@code) in the comments of the public headers below the folders, and the blocks
of C++ in the pages.
"""
import argparse
import re
import subprocess
import sys
from pathlib import Path

BEGINNING = """
#include "blocxx/StringStream.hpp"
#include "openwbem/OW_HTTPChunkedIStream.hpp"
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http.hpp"

#include <openssl/pem.h>

#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

using namespace ZOLNS2;

struct Shape : blocxx::IntrusiveCountableBase {};
struct Circle : Shape { void draw() const; };
struct Window { void onStop(std::function<void()>); };
enum { TRY_AGAIN, GIVE_UP, MISSING, FAILED };
std::vector<unsigned char> load();
void consume(const char*, size_t);
void use(const std::vector<char>&);
void work();
"""

# What the examples of a header or page take for granted.
NAMES = {
    "ChunkedContent.hpp": "const MIME::ContentRef& generated, HTTP::Headers& headers",
    "ExchangeConnection.hpp": "const HTTP::Request& request, const HTTP::Request& next",
    "ExchangeOptions.hpp": "const HTTP::Request& request",
    "ExchangeResponse.hpp": "const HTTP::Request& request",
    "HTTPConnection.hpp": "const HTTP::Request& request",
    "HTTPTransferDecoder.hpp": "HTTP::HTTPConnection& connection, const HTTP::Response& response",
    "MIMEContentIStream.hpp": "const MIME::ContentRef& content",
    "Response.hpp": "HTTP::Response& response",
    "Content.hpp": "const MIME::ContentRef& content",
    "ContentBIO.hpp": "const MIME::ContentRef& content",
    "MultipartContent.hpp": "HTTP::RequestBuilder& builder, const MIME::ContentRef& html, const MIME::ContentRef& logo",
    "MultipartReader.hpp": "const HTTP::ExchangeResponse& response",
    "TypedContent.hpp": "const MIME::ContentRef& received",
    "UnbufferedContent.hpp": "HTTP::Response& response",
    "boyer_moore_search.hpp": "std::istream& stream",
    "TormudaTextOperations.hpp": "const blocxx::Map<blocxx::String, blocxx::String>& headers",
    "untokenize.hpp": "const blocxx::Array<blocxx::String>& words",
    "Cancellation.hpp": "blocxx::Socket& socket, Window& ui",
    "Logger.hpp": "int count, const blocxx::String& name",
    "Timeout.hpp": "HTTP::ExchangeOptions& options",
    "OW_HTTPChunkedIStream.hpp": "std::istream& connection, std::ostream& file",
    "OW_HTTPUtils.hpp": "std::istream& connection",
    "guide.md": "const HTTP::ExchangeResponse& response, const HTTP::Url& url, char (&buffer)[4096]",
}


def examples_of(text):
    """(line, code) of each example in a header or a page."""
    for found in re.finditer(r"@code\n(?P<comment>.*?)\n\s*/// @endcode|^```cpp\n(?P<block>.*?)\n```$", text, re.S | re.M):
        lines = (found["block"] or re.sub(r"^\s*/// ?", "", found["comment"] or "", flags=re.M)).split("\n")
        yield text[:found.start()].count("\n") + 2, "\n".join("" if line.strip() == "..." else line for line in lines)


def function_of(number, name, line, code):
    """A function that holds an example, whose lines the compiler calls by their place in the file."""
    # What defines at namespace scope what the rest uses.
    outside = "\n".join(part for part in code.split("\n") if part.startswith("BLOCXX_DE"))
    inside = "\n".join("" if part.startswith("BLOCXX_DE") else part for part in code.split("\n"))
    before = "try { work(); }" if code.startswith("catch") else ""
    after = "return 0;"
    return (f'namespace example{number}\n{{\n{outside}\n[[maybe_unused]] int show({NAMES.get(name, "")})\n{{ {before}\n'
            f'#line {line} "{name}"\n{inside}\n{after} }}\n}}\n')


def main():
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("--compiler", required=True)
    parser.add_argument("--include", action="append", required=True)
    parser.add_argument("pages", nargs="*", type=Path)
    args = parser.parse_args()
    files = [path for folder in args.include for path in sorted(Path(folder).rglob("*.h*"))] + args.pages
    examples = [(path.name, line, code) for path in files for line, code in examples_of(path.read_text())]
    functions = [function_of(number, *example) for number, example in enumerate(examples)]
    if not functions:
        sys.exit("no example is shown")
    done = subprocess.run([args.compiler, "-std=c++17", "-fsyntax-only", *(f"-I{folder}" for folder in args.include),
                           "-x", "c++", "-"], input=BEGINNING + "".join(functions), text=True, timeout=280,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
    if done.returncode:
        sys.exit(done.stdout)
    print(f"{len(functions)} examples compile")


if __name__ == "__main__":
    main()
