#pragma once

#include <cstddef>
#include <random>
#include <string>
#include <vector>

namespace zol_test
{

/// Heads of responses as servers send them, and with a share of what makes them unusual or wrong. The same seed gives the
/// same heads.
class RandomHeads
{
public:
    explicit RandomHeads(unsigned seed) : m_random(seed) {}

    std::size_t below(std::size_t bound) { return std::uniform_int_distribution<std::size_t>(0, bound - 1)(m_random); }
    bool oneIn(std::size_t count) { return below(count) == 0; }

    /// With the empty line, unless it is one of those that lack it.
    std::string next()
    {
        m_lineEnd = oneIn(6) ? "\n" : "\r\n";
        std::string head = (oneIn(30) ? m_lineEnd : "") + statusLine() + m_lineEnd;
        const std::size_t lines = oneIn(20) ? 20 + below(40) : below(9);
        for (std::size_t line = 0; line < lines; ++line)
        {
            head += fieldLine() + (oneIn(80) ? "\n" : m_lineEnd);
        }
        return head + (oneIn(40) ? "" : m_lineEnd);
    }

    /// A field line in its usual form.
    std::string plainLine() { return name() + ": " + value(); }

private:
    const std::string& one(const std::vector<std::string>& of) { return of[below(of.size())]; }

    std::string statusLine()
    {
        static const std::vector<std::string> USUAL{"HTTP/1.1 200 OK",         "HTTP/1.0 200 OK",
                                                    "HTTP/1.1 204 No Content", "HTTP/1.1 404 Not Found",
                                                    "HTTP/1.1 299 ",           "HTTP/1.1 201"};
        static const std::vector<std::string> OTHERS{"HTTP/1.1  200 OK",
                                                     "HTTP/1.1 200 two  blanks",
                                                     "HTTP/1.1\t200 OK",
                                                     "HTTP/1.1 200 OK ",
                                                     "HTTP/1.2 200 OK",
                                                     "http/1.1 200 OK",
                                                     "HTTP/1.1 2x0 OK",
                                                     "HTTP/1.1 099 OK",
                                                     "HTTP/1.1 2000 OK",
                                                     "HTTP/1.1 20",
                                                     "HTTP/1.1",
                                                     "HTTP/2 200 OK",
                                                     "HTTP/1.1 200 \xc3\xbc \xff",
                                                     "HTTP/1.1 200 a\vb",
                                                     "HTTP/1.1 200 a\fb",
                                                     "HTTP/1.1 700 Z",
                                                     "HTTP/1.1 200 a\rb",
                                                     ""};
        return oneIn(8) ? one(OTHERS) : one(USUAL);
    }

    std::string name()
    {
        static const std::vector<std::string> NAMES{
            "Server",
            "Date",
            "content-length",
            "Content-Length",
            "Connection",
            "X-A",
            "x-a",
            "A",
            "ab",
            "abc",
            "Seven-7",
            "Eight-88",
            "Nine-999-",
            "X-Line-1",
            "x-line-10",
            "X-Line-2",
            "Content-Encoding",
            "[weird^~",
            "@{}Z`",
            "Sixteen-sixteen!",
            "Set-Cookie",
            "X-Very-Long-Name-Of-A-Field-That-No-Server-Would-Ever-Choose-To-Send-To-A-Client"};
        return one(NAMES);
    }

    std::string value()
    {
        static const std::vector<std::string> VALUES{
            "128",
            "0",
            "",
            "a value",
            "Sat, 01 Jan 2022 00:00:00 GMT",
            " blanks around \t",
            "tab\tinside",
            "\xc3\xbc\x80\xff",
            "a:b",
            "\x7f",
            "\"quoted; text\"",
            "long long long long long long long long long long long long long"};
        return one(VALUES);
    }

    std::string fieldLine()
    {
        static const std::vector<std::string> TYPES{"text/plain; charset=UTF-8",
                                                    "text/html",
                                                    "application/json",
                                                    "TEXT/x;a=\"b\"; c = d",
                                                    "image",
                                                    "a/b;c=d/e",
                                                    "",
                                                    "text",
                                                    "x ; y=z/w",
                                                    "multi/part;boundary=\"b"};
        static const std::vector<std::string> OTHERS{
            " folded",  "\tfolded", " ",           "no colon",    ": no name",  "Blank : before", "bl ank: x", "NUL: a",
            "CR: a\rb", "VT: a\vb", "FF: \f a \f", "\x80name: x", "De\x7fl: x", "X-A:",           "X-A:\t \t"};
        if (oneIn(25))
        {
            std::string line = one(OTHERS);
            if (oneIn(4))
            {
                line += '\0';
            }
            return line;
        }
        if (oneIn(60))
        {
            return oneIn(2) ? "Transfer-Encoding: chunked" : "transfer-encoding: gzip";
        }
        if (oneIn(6))
        {
            return (oneIn(2) ? "Content-Type: " : "content-TYPE:") + one(TYPES);
        }
        return name() + (oneIn(5) ? ":" : ": ") + value();
    }

    std::mt19937 m_random;
    std::string m_lineEnd;
};

} // namespace zol_test
