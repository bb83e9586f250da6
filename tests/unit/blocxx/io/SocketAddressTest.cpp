#include "blocxx/SocketAddress.hpp"

#include "ScriptedResolver.hpp"
#include "support/GroupingLocale.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netdb.h>

#include <cerrno>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using blocxx::SocketAddress;
using blocxx::String;
using blocxx::UnknownHostException;
using testing::StartsWith;
using zol_test::ScriptedResolver;

namespace
{

std::string unknownHostText(const String& host)
{
    try
    {
        SocketAddress::getByName(host, 80);
    }
    catch (const UnknownHostException& e)
    {
        EXPECT_EQ(e.getErrorCode(), -1);
        EXPECT_EQ(e.getSubClassId(), -9);
        EXPECT_STREQ(e.type(), "UnknownHostException");
        return e.getMessage();
    }
    return "found";
}

std::vector<std::string> candidatesOf(const SocketAddress& address)
{
    std::vector<std::string> texts;
    for (std::size_t index = 0; index < address.getCandidateCount(); ++index)
    {
        texts.emplace_back(address.getCandidate(index).toString().c_str());
    }
    return texts;
}

} // namespace

TEST(SocketAddress, IsUnsetByDefault)
{
    const SocketAddress address;
    EXPECT_EQ(address.getType(), SocketAddress::UNSET);
    EXPECT_EQ(address.getPort(), 0);
    EXPECT_EQ(address.getName(), "");
    EXPECT_EQ(address.getAddress(), "");
    EXPECT_EQ(address.toString(), "");
    EXPECT_EQ(address.getNativeForm(), nullptr);
    EXPECT_EQ(address.getNativeFormSize(), 0U);
    EXPECT_EQ(address.getCandidateCount(), 0U);
    EXPECT_FALSE(address.hasHostName());
}

struct Literal
{
    const char* host;
    const char* address;
    const char* text;
};

void PrintTo(const Literal& literal, std::ostream* out)
{
    *out << literal.host;
}

class SocketAddressLiteral : public testing::TestWithParam<Literal>
{
};

TEST_P(SocketAddressLiteral, IsTakenWithoutALookUp)
{
    const int lookUps = ScriptedResolver::lookUps();
    const SocketAddress address = SocketAddress::getByName(GetParam().host, 8080);
    EXPECT_EQ(address.getType(), SocketAddress::INET);
    EXPECT_EQ(address.getAddress(), GetParam().address);
    EXPECT_EQ(address.getName(), GetParam().host);
    EXPECT_EQ(address.toString(), GetParam().text);
    EXPECT_EQ(address.getPort(), 8080);
    EXPECT_EQ(address.getCandidateCount(), 1U);
    EXPECT_FALSE(address.hasHostName());
    EXPECT_EQ(ScriptedResolver::lookUps(), lookUps);
}

INSTANTIATE_TEST_SUITE_P(Forms, SocketAddressLiteral,
                         testing::Values(Literal{"127.0.0.1", "127.0.0.1", "127.0.0.1:8080"},
                                         Literal{"127.1", "127.0.0.1", "127.0.0.1:8080"},
                                         Literal{"2130706433", "127.0.0.1", "127.0.0.1:8080"},
                                         Literal{"0", "0.0.0.0", "0.0.0.0:8080"},
                                         Literal{"10.0.0.20", "10.0.0.20", "10.0.0.20:8080"},
                                         Literal{"100.200", "100.0.0.200", "100.0.0.200:8080"},
                                         Literal{"::1", "::1", "[::1]:8080"},
                                         Literal{"::ffff:127.0.0.1", "::ffff:127.0.0.1", "[::ffff:127.0.0.1]:8080"}));

const struct
{
    const char* kind;
    String text;
} NO_HOSTS[] = {{"Empty", ""},
                {"Blank", " "},
                {"BlankInside", "a b"},
                {"BlankAfter", "127.0.0.1 "},
                {"BlankBefore", " 127.0.0.1"},
                {"LineEnd", "localhost\n"},
                {"Delete", "localhost\x7f"},
                {"NulInside", String("localhost\0.example", 18)},
                {"Hexadecimal", "0x7f.1"},
                {"NumberOutOfRange", "256.1.1.1"},
                {"FiveNumbers", "1.2.3.4.5"},
                {"Dots", "..."},
                {"NumberTooLarge", "4294967296"},
                {"LeadingZero", "127.0.0.01"},
                {"LeadingZeroFirst", "0177.0.0.1"},
                {"LeadingZeroInAShortForm", "127.01"},
                {"LeadingZeroOfOneNumber", "017700000001"},
                {"TwoZeros", "127.00.0.1"},
                {"LeadingZeroAfterIPv6", "::ffff:127.0.0.01"},
                {"Brackets", "[::1]"},
                {"Zone", "fe80::1%lo"},
                {"Colon", ":"},
                {"IPv6WithTwoGaps", "1::2::3"}};

TEST(SocketAddress, NoHostIsUnknownWithoutALookUp)
{
    const int lookUps = ScriptedResolver::lookUps();
    for (const auto& [kind, text] : NO_HOSTS)
    {
        EXPECT_THAT(unknownHostText(text), StartsWith(std::string("Unknown host: ") + text.c_str())) << kind;
    }
    EXPECT_EQ(ScriptedResolver::lookUps(), lookUps);
}

TEST(SocketAddress, UnknownHostTextNamesHostAndReason)
{
    EXPECT_EQ(unknownHostText("a b"), "Unknown host: a b: not a host name");
    const ScriptedResolver resolver("nowhere.example", EAI_NONAME);
    EXPECT_EQ(unknownHostText("nowhere.example"),
              std::string("Unknown host: nowhere.example: ") + ::gai_strerror(EAI_NONAME));
}

TEST(SocketAddress, UnknownHostTextNamesTheSystemErrorAfterTheResolvers)
{
    const ScriptedResolver resolver("nowhere.example", EAI_SYSTEM, EMFILE);
    EXPECT_EQ(unknownHostText("nowhere.example"),
              std::string("Unknown host: nowhere.example: ") + std::strerror(EMFILE));
}

TEST(SocketAddress, TextDoesNotFollowTheGlobalLocale)
{
    const zol_test::GroupingLocale locale;
    EXPECT_EQ(SocketAddress::getByName("127.0.0.1", 8080).toString(), "127.0.0.1:8080");
    EXPECT_EQ(SocketAddress::getByName("::1", 65535).toString(), "[::1]:65535");
}

TEST(SocketAddress, LocalhostResolvesToLoopback)
{
    const SocketAddress address = SocketAddress::getByName("localhost", 1);
    EXPECT_EQ(address.getName(), "localhost");
    EXPECT_TRUE(address.hasHostName());
    EXPECT_THAT(candidatesOf(address), testing::Each(testing::AnyOf("127.0.0.1:1", "[::1]:1")));
    EXPECT_THAT(candidatesOf(address), testing::Contains("127.0.0.1:1"));
}

TEST(SocketAddress, NameKeepsEveryAddressInTheResolversOrder)
{
    const ScriptedResolver resolver("many.example", {"::1", "127.0.0.2", "127.0.0.1", "fd00::1"});
    const SocketAddress address = SocketAddress::getByName("many.example", 443);
    EXPECT_THAT(candidatesOf(address),
                testing::ElementsAre("[::1]:443", "127.0.0.2:443", "127.0.0.1:443", "[fd00::1]:443"));
    EXPECT_EQ(address.toString(), "[::1]:443");
    EXPECT_EQ(address.getAddress(), "::1");
}

TEST(SocketAddress, IPv6OnlyNameResolves)
{
    const ScriptedResolver resolver("six.example", {"::1"});
    EXPECT_EQ(SocketAddress::getByName("six.example", 80).getAddress(), "::1");
}

TEST(SocketAddress, NameWithMoreAddressesThanOneAnswerHoldsKeepsThemAll)
{
    std::vector<std::string> addresses;
    addresses.reserve(200);
    for (int i = 0; i < 200; ++i)
    {
        addresses.push_back("127.0.1." + std::to_string(i));
    }
    const ScriptedResolver resolver("crowd.example", addresses);
    EXPECT_EQ(SocketAddress::getByName("crowd.example").getCandidateCount(), addresses.size());
}

TEST(SocketAddress, NameAskedForIsKeptAndGoesWithEachCandidate)
{
    const ScriptedResolver resolver("Alias.example", {"127.0.0.1", "127.0.0.2"});
    const SocketAddress address = SocketAddress::getByName("Alias.example", 80);
    EXPECT_EQ(address.getName(), "Alias.example");
    EXPECT_EQ(address.getCandidate(1).getName(), "Alias.example");
    EXPECT_EQ(address.getCandidate(1).getPort(), 80);
    EXPECT_EQ(address.getCandidate(1).getCandidateCount(), 1U);
    EXPECT_TRUE(address.getCandidate(1).hasHostName());
    EXPECT_THROW(address.getCandidate(2), std::out_of_range);
}

TEST(SocketAddress, NativeFormIsThatOfTheFirstAddress)
{
    const SocketAddress four = SocketAddress::getByName("127.0.0.1", 80);
    ASSERT_EQ(four.getNativeFormSize(), sizeof(sockaddr_in));
    const auto* native = reinterpret_cast<const sockaddr_in*>(four.getNativeForm());
    EXPECT_EQ(native->sin_family, AF_INET);
    EXPECT_EQ(native->sin_port, htons(80));
    EXPECT_EQ(native->sin_addr.s_addr, htonl(INADDR_LOOPBACK));

    const SocketAddress six = SocketAddress::getByName("::1", 81);
    ASSERT_EQ(six.getNativeFormSize(), sizeof(sockaddr_in6));
    const auto* native6 = reinterpret_cast<const sockaddr_in6*>(six.getNativeForm());
    EXPECT_EQ(native6->sin6_family, AF_INET6);
    EXPECT_EQ(native6->sin6_port, htons(81));
    EXPECT_EQ(std::memcmp(&native6->sin6_addr, &in6addr_loopback, sizeof in6addr_loopback), 0);
}

TEST(SocketAddress, AssignFromNativeFormTakesAddressAndPortAndKeepsTheName)
{
    SocketAddress address = SocketAddress::getByName("127.0.0.1", 80);
    sockaddr_in6 native{};
    native.sin6_family = AF_INET6;
    native.sin6_port = htons(99);
    native.sin6_addr = in6addr_loopback;
    address.assignFromNativeForm(reinterpret_cast<const sockaddr*>(&native), sizeof native);
    EXPECT_EQ(address.toString(), "[::1]:99");
    EXPECT_EQ(address.getPort(), 99);
    EXPECT_EQ(address.getName(), "127.0.0.1");
}

TEST(SocketAddress, AssignFromAFormThatIsNotAnInternetAddressLeavesItUnset)
{
    SocketAddress address = SocketAddress::getByName("127.0.0.1", 80);
    sockaddr native{};
    native.sa_family = AF_UNIX;
    address.assignFromNativeForm(&native, sizeof native);
    EXPECT_EQ(address.getType(), SocketAddress::UNSET);

    sockaddr_in cut{};
    cut.sin_family = AF_INET;
    address.assignFromNativeForm(reinterpret_cast<const sockaddr*>(&cut), sizeof cut - 1);
    EXPECT_EQ(address.getType(), SocketAddress::UNSET);
    address.assignFromNativeForm(nullptr, 0);
    EXPECT_EQ(address.getType(), SocketAddress::UNSET);
}

namespace
{

/// What a text of digits and dots is by the rules of the system, without numbers that begin with a zero: those are octal
/// to some. Empty if it is no address.
std::string addressBySystem(const std::string& text)
{
    for (std::size_t at = 0; at + 1 < text.size(); ++at)
    {
        const bool begins = at == 0 || text[at - 1] == '.';
        if (begins && text[at] == '0' && text[at + 1] != '.')
        {
            return "";
        }
    }
    in_addr address{};
    char shown[INET_ADDRSTRLEN] = "";
    return ::inet_aton(text.c_str(), &address) != 0 ? ::inet_ntop(AF_INET, &address, shown, sizeof shown) : "";
}

} // namespace

TEST(SocketAddress, ReadsDigitsAndDotsAsTheSystemDoes)
{
    std::mt19937 random(1);
    const std::vector<std::string> pieces{"0",   "1",   "9",    "10",         "99", "127", "255",
                                          "256", "300", "1000", "4294967295", ".",  "."};
    int addresses = 0;
    for (int i = 0; i < 20000; ++i)
    {
        std::string text = pieces[random() % 11];
        const std::size_t parts = random() % 5;
        for (std::size_t part = 0; part < parts; ++part)
        {
            text += (random() % 20 == 0 ? "" : ".") + pieces[random() % (random() % 10 == 0 ? 13 : 8)];
        }
        const std::string expected = addressBySystem(text);
        std::string found;
        try
        {
            found = SocketAddress::getByName(text.c_str(), 80).getAddress().c_str();
        }
        catch (const UnknownHostException&) // NOLINT(bugprone-empty-catch): no address
        {
        }
        ASSERT_EQ(found, expected) << text;
        addresses += expected.empty() ? 0 : 1;
    }
    EXPECT_GT(addresses, 2000);
    EXPECT_LT(addresses, 18000);
}
