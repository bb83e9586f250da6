#include "exchange/PlainUrl.hpp"

#include "zol/http/ExchangeException.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

namespace
{

using ZOLNS2::HTTP::ExchangeException;
using ZOLNS2::HTTP::PlainUrl;
using ZOLNS2::HTTP::Url;

std::optional<Url> parsed(bool isSecure, const std::string& server, const std::string& target)
{
    try
    {
        return Url(((isSecure ? "https://" : "http://") + server + target).c_str());
    }
    catch (const ExchangeException&)
    {
        return std::nullopt;
    }
}

/// A text of up to `length` pieces.
std::string randomText(std::mt19937& random, std::size_t length, const std::vector<std::string>& pieces)
{
    std::string text;
    for (std::size_t left = random() % (length + 1); left > 0; --left)
    {
        text += pieces[random() % pieces.size()];
    }
    return text;
}

TEST(PlainUrl, IsWhatTheParsedTextGives)
{
    std::mt19937 random(1);
    const std::vector<std::string> hosts{"a",           "www", ".", "-",     "1", "127.0.0.1",
                                         "example.com", "A",   "_", "[::1]", "@", "%41"};
    const std::vector<std::string> ports{"",   "",       ":80",    ":443", ":8080", ":",
                                         ":0", ":65535", ":65536", ":080", ":8a",   ":1:2"};
    const std::vector<std::string> targets{"/",   "a", "b.c", "?", "&x=1", "//",       "..",
                                           "%41", "%", "#",   " ", "\"",   "\xc3\xbc", ":@"};
    int plain = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const bool isSecure = random() % 2 == 0;
        const std::string server = randomText(random, 3, hosts) + ports[random() % ports.size()];
        const std::string target = "/" + randomText(random, 4, targets);
        if (const PlainUrl read{isSecure, server, target})
        {
            const Url url = read.url();
            ++plain;
            const std::optional<Url> other = parsed(isSecure, server, target);
            ASSERT_TRUE(other) << server << target;
            ASSERT_EQ(url.toString(), other->toString()) << server << target;
            ASSERT_EQ(url.hostAndPort(), other->hostAndPort());
            ASSERT_EQ(url.target(), other->target());
            ASSERT_EQ(url.host(), other->host());
            ASSERT_EQ(url.port(), other->port());
            ASSERT_TRUE(url.sameOrigin(*other));
        }
    }
    EXPECT_GT(plain, 500);
    EXPECT_LT(plain, 15000);
}

} // namespace
