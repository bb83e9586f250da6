#pragma once

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <exception>

struct Sum
{
    std::size_t parts = 0;
    std::size_t bytes = 0;
};

/// The whole of a program that parses a multipart body and drops it again, as often as its argument ROUNDS says (once
/// without it), and prints the number of all parts and their bytes. `arguments` are the names of those before it.
template <class Parse>
int readRounds(int argc, char** argv, int count, const char* arguments, const Parse& parse)
try
{
    if (argc != count + 1 && argc != count + 2)
    {
        std::fprintf(stderr, "usage: %s %s [ROUNDS]\n", argv[0], arguments);
        return 2;
    }
    Sum sum;
    for (int rounds = argc == count + 2 ? std::atoi(argv[count + 1]) : 1; rounds > 0; --rounds)
    {
        parse(argv + 1, sum);
    }
    std::printf("%zu parts, %zu bytes\n", sum.parts, sum.bytes);
    return 0;
}
catch (const std::exception& e)
{
    std::fprintf(stderr, "%s: %s\n", argv[0], e.what());
    return 1;
}
