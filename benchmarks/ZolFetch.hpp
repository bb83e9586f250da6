#pragma once

#include "FetchArguments.hpp"

#include "zol/http.hpp"

constexpr size_t BLOCK = 65536;

/// The context that trusts the given certificates; null without them.
inline blocxx::SSLClientCtxRef contextFor(const FetchArguments& arguments)
{
    if (arguments.trust.empty())
    {
        return blocxx::SSLClientCtxRef();
    }
    blocxx::SSLOpts options;
    options.trustStore = arguments.trust.c_str();
    return blocxx::SSLClientCtxRef(new blocxx::SSLClientCtx(options));
}

/// Reads a content with getData of 64 KiB. @return its bytes
inline size_t pull(const ZOLNS2::MIME::ContentRef& content, std::vector<char>& buffer)
{
    const ZOLNS2::MIME::ContentStreamStateRef state = content->createInitialStreamState();
    size_t total = 0;
    for (size_t count = 0; (count = content->getData(buffer.data(), BLOCK, state)) != ZOLNS2::MIME::END_OF_DATA;)
    {
        total += count;
    }
    return total;
}
