#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// What a program that fetches is given: PORT TARGET COUNT, and then words in any order that change the work. Not every
/// program knows them all.
///
///   kept        all fetches over one connection, rather than one each
///   stream      the body is read through a std::istream
///   lines=N     every request is built anew, with N header lines more
///   trust=FILE  over TLS; the certificates in FILE are trusted
///   large       with the largest buffer there is, where the library has one of its own
struct FetchArguments
{
    std::string port;
    std::string target;
    long count = 0;
    bool kept = false;
    bool stream = false;
    bool large = false;
    std::optional<std::vector<std::pair<std::string, std::string>>> lines;
    std::string trust;

    /// @param words those that the program knows, as its usage shows them; others end the program
    FetchArguments(int argc, char** argv, const std::string& words)
    {
        bool valid = argc >= 4;
        for (int index = 4; index < argc; ++index)
        {
            valid = valid && take(argv[index], words);
        }
        if (!valid)
        {
            std::fprintf(stderr, "usage: %s PORT TARGET COUNT %s\n", argv[0], words.c_str());
            std::exit(2);
        }
        port = argv[1];
        target = argv[2];
        count = std::atol(argv[3]);
    }

private:
    bool take(const std::string& word, const std::string& words)
    {
        const size_t equals = word.find('=');
        const std::string value = equals == std::string::npos ? "" : word.substr(equals + 1);
        const std::string name = word.substr(0, equals == std::string::npos ? equals : equals + 1);
        if (words.find('[' + name) == std::string::npos)
        {
            return false;
        }
        kept = kept || name == "kept";
        stream = stream || name == "stream";
        large = large || name == "large";
        if (name == "trust=")
        {
            trust = value;
        }
        if (name == "lines=")
        {
            lines.emplace();
            for (int line = 0; line < std::atoi(value.c_str()); ++line)
            {
                lines->emplace_back("X-Line-" + std::to_string(line), "the value of the line");
            }
        }
        return true;
    }
};
