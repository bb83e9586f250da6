/// @file Uses every name of the value types that programs rely on, as they write it.

#include "blocxx/Array.hpp"
#include "blocxx/Bool.hpp"
#include "blocxx/COWReference.hpp"
#include "blocxx/Exception.hpp"
#include "blocxx/Format.hpp"
#include "blocxx/GlobalString.hpp"
#include "blocxx/IntrusiveCountableBase.hpp"
#include "blocxx/IntrusiveReference.hpp"
#include "blocxx/LazyGlobal.hpp"
#include "blocxx/Map.hpp"
#include "blocxx/NULLReferenceException.hpp"
#include "blocxx/ReferenceHelpers.hpp"
#include "blocxx/String.hpp"
#include "blocxx/StringBuffer.hpp"
#include "blocxx/StringStream.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace names
{

using blocxx::Array;
using blocxx::COWReference;
using blocxx::Exception;
using blocxx::Format;
using blocxx::IntrusiveReference;
using blocxx::Map;
using blocxx::OStringStream;
using blocxx::String;
using blocxx::StringBuffer;

BLOCXX_DECLARE_EXCEPTION(First)
BLOCXX_DEFINE_EXCEPTION(First)
BLOCXX_DECLARE_EXCEPTION2(Second, FirstException)
BLOCXX_DEFINE_EXCEPTION2(Second, FirstException)
BLOCXX_DECLARE_APIEXCEPTION(IO, BLOCXX_COMMON_API)
BLOCXX_DEFINE_EXCEPTION_WITH_ID(IO)
BLOCXX_DECLARE_APIEXCEPTION2(SSL, FirstException, BLOCXX_COMMON_API)
BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID(SSL, FirstException)
BLOCXX_DECLARE_EXCEPTION2(Numbered, FirstException)
BLOCXX_DEFINE_EXCEPTION_WITH_BASE_AND_ID_AUX(Numbered, FirstException, 42)

/// Shows what is protected in every exception.
class Open : public Exception
{
public:
    Open(const char* message, int code) : Exception("open.cpp", 1, message, code) {}
    using Exception::setErrorCode;
    using Exception::setSubClassId;
    using Exception::swap;
};

struct Base : virtual blocxx::IntrusiveCountableBase
{
    int number = 1;
};
struct Derived : Base
{
};

struct Cloned
{
    Cloned* clone() const { return new Cloned(*this); }
    int number = 1;
};
struct ClonedBase
{
    ClonedBase* clone() const { return new ClonedBase(*this); }
    virtual ~ClonedBase() = default;
};
struct ClonedDerived : ClonedBase
{
};

} // namespace names

namespace
{

using namespace names;

template <class Thrown, class Action>
Thrown caught(Action action)
{
    try
    {
        action();
    }
    catch (const Thrown& exception)
    {
        return exception;
    }
    ADD_FAILURE() << "nothing was thrown";
    return Thrown("", 0, "");
}

TEST(ValueNames, StringIsMadeAssignedAndLookedAt)
{
    const char bytes[] = {'a', '\0', 'b'};
    String text = "abcabc";
    text = String();
    EXPECT_TRUE(text.empty());
    text = std::string("abcabc");
    const String copy(text);
    EXPECT_EQ(3U, String(bytes, 3).length());
    EXPECT_EQ("x", String('x'));
    EXPECT_EQ(static_cast<std::size_t>(-1), String::npos);
    EXPECT_STREQ("abcabc", copy.c_str());
    EXPECT_EQ('\0', String().charAt(0));
    EXPECT_EQ('b', copy.charAt(1));
    EXPECT_EQ(1U, copy.indexOf('b'));
    EXPECT_EQ(4U, copy.indexOf('b', 2));
    EXPECT_EQ(1U, copy.indexOf("bc"));
    EXPECT_EQ(4U, copy.indexOf(String("bc"), 2));
    EXPECT_EQ("cabc", copy.substring(2));
    EXPECT_EQ("ca", copy.substring(2, 2));
    EXPECT_EQ("x", String(" x ").trim());
}

TEST(ValueNames, StringsCompareJoinAndConvert)
{
    const String b("b");
    EXPECT_LT(b.compareTo(String("c")), 0);
    EXPECT_GT(b.compareTo("a"), 0);
    EXPECT_TRUE(b.equals("b") && b.equals(String("b")));
    EXPECT_TRUE(b.equalsIgnoreCase("B") && b.equalsIgnoreCase(String("B")));
    EXPECT_TRUE(b == b && b == "b" && "b" == b && !(b != b) && b != "c" && "c" != b);
    EXPECT_TRUE(b < String("c") && b < "c" && "a" < b && b <= b && b <= "b" && "b" <= b);
    EXPECT_TRUE(b > String("a") && b > "a" && "c" > b && b >= b && b >= "b" && "b" >= b);
    String text("a");
    text.concat("b").concat(String("c")).concat('d');
    text += String("e");
    text += "f";
    text += 'g';
    EXPECT_EQ("abcdefg", text);
    EXPECT_EQ("bb", b + b);
    EXPECT_EQ("ab", "a" + b);
    EXPECT_EQ("bc", b + "c");
    EXPECT_EQ("ab", 'a' + b);
    EXPECT_EQ("bc", b + 'c');
    EXPECT_EQ("x: 5", "x: " + Format("%1", 5));
    EXPECT_EQ("5z", Format("%1", 5) + "z");
    String other("other");
    text.swap(other);
    EXPECT_EQ("other", text);
    EXPECT_EQ(80, String("80").toUInt16());
    EXPECT_EQ(255UL, String("ff").toUInt64(16));
    EXPECT_THROW(String("-1").toUInt64(), blocxx::StringConversionException);
    std::ostringstream out;
    out << text;
    EXPECT_EQ("other", out.str());
}

TEST(ValueNames, StringBufferGathersText)
{
    EXPECT_EQ(128U, StringBuffer::BLOCXX_DEFAULT_ALLOCATION_UNIT);
    StringBuffer buffer = std::size_t{10};
    buffer.append('a').append("b").append("cx", 1).append(String("d")).append(StringBuffer("e"));
    EXPECT_STREQ("abcde", buffer.c_str());
    StringBuffer numbers(String("="));
    numbers += 'c';
    numbers += "s";
    numbers += String("S");
    numbers += StringBuffer("B");
    numbers += blocxx::UInt8{1};
    numbers += blocxx::Int8{-1};
    numbers += blocxx::UInt16{2};
    numbers += blocxx::Int16{-2};
    numbers += blocxx::UInt32{3};
    numbers += blocxx::Int32{-3};
    numbers += blocxx::UInt64{4};
    numbers += blocxx::Int64{-4};
    numbers += blocxx::Real32{0.5F};
    numbers += blocxx::Real64{0.25};
    numbers += blocxx::Bool(true);
    numbers += true;
    EXPECT_EQ("=csSB1-12-23-34-40.50.25true1", numbers.toString());
    buffer.swap(numbers);
    buffer = numbers;
    buffer = String(" text ");
    buffer = " text ";
    buffer.trim();
    EXPECT_EQ('t', buffer[0]);
    EXPECT_TRUE(buffer.startsWith('t') && buffer.endsWith('t'));
    EXPECT_GE(buffer.allocated(), buffer.length());
    EXPECT_TRUE(buffer.equals("text") && buffer.equals(StringBuffer("text")));
    EXPECT_TRUE(buffer == StringBuffer("text") && buffer == String("text") && String("text") == buffer);
    EXPECT_TRUE(buffer != StringBuffer("x") && buffer != String("x") && String("x") != buffer);
    buffer.chop();
    buffer.truncate(2);
    EXPECT_EQ("te", buffer.releaseString());
    buffer.reset();
    std::istringstream input("line\nmore");
    EXPECT_STREQ("line", buffer.getLine(input));
    EXPECT_STREQ("linemore", buffer.getLine(input, false));
    std::ostringstream out;
    out << buffer;
    EXPECT_EQ("linemore", out.str());
}

TEST(ValueNames, OStringStreamGathersText)
{
    OStringStream out;
    out << "abc" << 5 << String("x") << std::endl;
    EXPECT_EQ("abc5x\n", out.toString());
    EXPECT_EQ(6U, out.length());
    EXPECT_STREQ("abc5x\n", out.c_str());
    OStringStream copy(out);
    copy = OStringStream(10);
    out.reset();
    out << "d";
    EXPECT_EQ("d", out.releaseString());
    EXPECT_TRUE((std::is_base_of_v<blocxx::BaseStreamBuffer, blocxx::OStringStreamBuf>));
    EXPECT_TRUE((std::is_base_of_v<std::ostream, OStringStream>));
}

TEST(ValueNames, ArrayHoldsElements)
{
    const int values[] = {1, 2, 3};
    Array<int> array;
    EXPECT_TRUE(array.empty());
    EXPECT_EQ(2U, Array<int>(std::size_t{2}, 7).size() * Array<int>(1, 7).size() * Array<int>(1L, 7).size());
    array = Array<int>(values, values + 3);
    array.reserve(10);
    array.push_back(4);
    array.append(5);
    array.insert(array.begin(), values, values + 1);
    array[1] = 9;
    array.resize(7);
    array.resize(8, 6);
    const Array<int>& readOnly = array;
    EXPECT_EQ(6, readOnly[7]);
    EXPECT_EQ(8, readOnly.end() - readOnly.begin());
    EXPECT_EQ(8, array.end() - array.begin());
    array.clear();
    EXPECT_EQ(0U, array.size());
    EXPECT_TRUE((std::is_same_v<Array<int>::value_type, int> && std::is_same_v<Array<int>::pointer, int*> &&
                 std::is_same_v<Array<int>::const_pointer, const int*> && std::is_same_v<Array<int>::reference, int&> &&
                 std::is_same_v<Array<int>::const_reference, const int&>));
    EXPECT_TRUE((std::is_same_v<Array<int>::iterator, std::vector<int>::iterator> &&
                 std::is_same_v<Array<int>::const_iterator, std::vector<int>::const_iterator> &&
                 std::is_same_v<Array<int>::reverse_iterator, std::vector<int>::reverse_iterator> &&
                 std::is_same_v<Array<int>::const_reverse_iterator, std::vector<int>::const_reverse_iterator> &&
                 std::is_same_v<Array<int>::size_type, std::size_t> &&
                 std::is_same_v<Array<int>::difference_type, std::ptrdiff_t>));
}

TEST(ValueNames, MapHoldsEntries)
{
    using Numbers = Map<String, int>;
    const std::pair<const String, int> entries[] = {{"b", 2}, {"a", 1}};
    Numbers map;
    map["c"] = 3;
    EXPECT_EQ(0U, Numbers(std::less<String>()).size());
    EXPECT_EQ(2U, Numbers(entries, entries + 2).size());
    EXPECT_EQ(2U, Numbers(entries, entries + 2, std::less<String>()).size());
    EXPECT_EQ(1U, Numbers(new std::map<String, int>{{"x", 1}}).size());
    const Numbers copy(map);
    EXPECT_EQ(3, copy.find("c")->second);
    EXPECT_EQ(1U, copy.count("c"));
    EXPECT_FALSE(copy.empty());
    EXPECT_EQ("c", copy.begin()->first);
    EXPECT_TRUE(copy.find("d") == copy.end());
    map.begin()->second = 4;
    EXPECT_TRUE(map.find("d") == map.end());
    Numbers other;
    map.swap(other);
    swap(map, other);
    EXPECT_TRUE(copy < map && !(copy == map));
    EXPECT_TRUE((std::is_same_v<Numbers::key_type, String> && std::is_same_v<Numbers::mapped_type, int> &&
                 std::is_same_v<Numbers::value_type, std::pair<const String, int>> &&
                 std::is_same_v<Numbers::iterator, std::map<String, int>::iterator>));
}

TEST(ValueNames, ExceptionTellsWhatHappened)
{
    const FirstException cause("in.cpp", 3, "inner", 7);
    const SecondException exception("out.cpp", 4, "outer", 5, &cause, 6);
    const Exception& base = exception;
    EXPECT_STREQ("SecondException", base.type());
    EXPECT_STREQ("outer", base.getMessage());
    EXPECT_STREQ("outer", base.what());
    EXPECT_STREQ("out.cpp", base.getFile());
    EXPECT_EQ(4, base.getLine());
    EXPECT_EQ(5, base.getErrorCode());
    EXPECT_EQ(6, base.getSubClassId());
    EXPECT_STREQ("inner", base.getSubException()->getMessage());
    EXPECT_EQ(-1, Exception::UNKNOWN_ERROR_CODE);
    EXPECT_EQ(-1, Exception::UNKNOWN_SUBCLASS_ID);
    const std::unique_ptr<Exception> clone(base.clone());
    EXPECT_THROW(clone->rethrow(), SecondException);
    const std::unique_ptr<char[]> text(Exception::dupString("text"));
    EXPECT_STREQ("text", text.get());
    Open open("one", 1);
    Open other("two", 2);
    open.swap(other);
    open.setErrorCode(8);
    open.setSubClassId(9);
    EXPECT_EQ(8, open.getErrorCode());
    EXPECT_EQ(9, open.getSubClassId());
    std::ostringstream out;
    out << exception;
    EXPECT_EQ("out.cpp: 4 SecondException: 5: outer <in.cpp: 3 FirstException: 7: inner>", out.str());
    blocxx::logErroneousException("nobody listens");
    blocxx::logErroneousException("nobody listens", cause);
    blocxx::logErroneousException("nobody listens", std::exception());
}

TEST(ValueNames, ExceptionMacrosThrow)
{
    const FirstException cause("in.cpp", 3, "inner");
    EXPECT_EQ(-1, caught<FirstException>([] { BLOCXX_THROW(FirstException, "m"); }).getErrorCode());
    EXPECT_EQ(2, caught<SecondException>([] { BLOCXX_THROW_ERR(SecondException, "m", 2); }).getErrorCode());
    EXPECT_NE(nullptr,
              caught<FirstException>([&] { BLOCXX_THROW_SUBEX(FirstException, "m", cause); }).getSubException());
    EXPECT_EQ(
        3,
        caught<names::IOException>([&] { BLOCXX_THROW_ERR_SUBEX(names::IOException, "m", 3, cause); }).getErrorCode());
    EXPECT_EQ(13, caught<names::SSLException>(
                      []
                      {
                          errno = 13;
                          BLOCXX_THROW_ERRNO(names::SSLException);
                      })
                      .getErrorCode());
    EXPECT_STREQ("Success", caught<NumberedException>([] { BLOCXX_THROW_ERRNO1(NumberedException, 0); }).getMessage());
    EXPECT_STREQ("m: 13(Permission denied)", caught<FirstException>(
                                                 []
                                                 {
                                                     errno = 13;
                                                     BLOCXX_THROW_ERRNO_MSG(FirstException, "m");
                                                 })
                                                 .getMessage());
    EXPECT_STREQ("m: 2(No such file or directory)",
                 caught<FirstException>([] { BLOCXX_THROW_ERRNO_MSG1(FirstException, String("m"), 2); }).getMessage());
    EXPECT_EQ(-22, names::IOException("f", 1, "m").getSubClassId());
    EXPECT_EQ(-51, names::SSLException("f", 1, "m").getSubClassId());
    EXPECT_EQ(42, NumberedException("f", 1, "m").getSubClassId());
}

TEST(ValueNames, ErrorNumbersHaveTexts)
{
    char text[64];
    blocxx::ExceptionDetail::portable_strerror_r(13, text, sizeof text);
    EXPECT_STREQ("Permission denied", text);
    EXPECT_STREQ("stat: 13(Permission denied)", blocxx::ExceptionDetail::FormatMsg("stat", 13).get());
    using Errno = blocxx::ExceptionDetail::Errno<FirstException>;
    EXPECT_STREQ("Permission denied", Errno::simple("f", 1, 13).getMessage());
    EXPECT_STREQ("m: 13(Permission denied)", Errno::format("f", 1, "m", 13).getMessage());
    EXPECT_STREQ("m: 13(Permission denied)", Errno::format("f", 1, String("m"), 13).getMessage());
}

TEST(ValueNames, IntrusiveReferenceShares)
{
    IntrusiveReference<Derived> derived(new Derived);
    IntrusiveReference<Base> base(derived);
    IntrusiveReference<Base> other = nullptr;
    other = derived;
    other = base;
    other = new Base;
    EXPECT_TRUE(base && !IntrusiveReference<Base>());
    EXPECT_EQ(derived.getPtr(), base.getPtr());
    EXPECT_EQ(1, (*base).number * base->number);
    base.swap(other);
    swap(base, other);
    EXPECT_TRUE(base.cast_to<Derived>() == derived);
    EXPECT_TRUE(base == base.getPtr() && base.getPtr() == base && base == derived);
    EXPECT_TRUE(base != other && base != other.getPtr() && other.getPtr() != base);
    EXPECT_NE(base < other, other < base);
    IntrusiveReferenceAddRef(base.getPtr());
    const IntrusiveReference<Base> adopted(base.getPtr(), false);
    EXPECT_THROW(blocxx::ReferenceHelpers::checkNull(nullptr), blocxx::NULLReferenceException);
    EXPECT_THROW(blocxx::ReferenceHelpers::throwNULLException(), blocxx::NULLReferenceException);
    EXPECT_TRUE((std::is_same_v<IntrusiveReference<Base>::element_type, Base>));
}

TEST(ValueNames, COWReferenceCopiesOnWrite)
{
    COWReference<Cloned> a(new Cloned);
    COWReference<Cloned> b;
    b = a;
    a->number = 3;
    (*a).number += 1;
    EXPECT_EQ(4, std::as_const(a)->number);
    EXPECT_EQ(1, (*std::as_const(b)).number);
    EXPECT_TRUE(b.getPtr() != a.getPtr() && a != b && !(a == b) && (a < b || b < a));
    a.swap(b);
    b = new Cloned;
    EXPECT_TRUE(a && !COWReference<Cloned>());
    const COWReference<ClonedDerived> derived(new ClonedDerived);
    const COWReference<ClonedBase> base(derived);
    EXPECT_TRUE(base == derived);
    const COWReference<std::vector<Cloned>> vector(new std::vector<Cloned>(2));
    COWReference<std::vector<Cloned>> copy(vector);
    copy->clear();
    EXPECT_EQ(2U, vector->size());
    EXPECT_TRUE((std::is_same_v<COWReference<Cloned>::element_type, Cloned>));
}

TEST(ValueNames, FormatTakesOneToNineArguments)
{
    EXPECT_EQ("1", Format("%1", 1).toString());
    EXPECT_STREQ("a b", Format("%1 %2", String("a"), String("b")).c_str());
    const String text = Format("%1%2%3%4%5%6%7%8%9", 1, 2, 3, 4, 5, 6, 7, 8, 9);
    EXPECT_EQ("123456789", text);
    const Format copy(Format("%1", 2));
    std::ostringstream out;
    out << copy;
    EXPECT_EQ("2", out.str());
    EXPECT_TRUE(std::has_virtual_destructor_v<Format>);
}

blocxx::GlobalString name = BLOCXX_GLOBAL_STRING_INIT("name");
blocxx::LazyGlobal<String, const char* const> lazy = BLOCXX_LAZY_GLOBAL_INIT("lazy");

TEST(ValueNames, LazyGlobalsAreCreatedAndAssigned)
{
    const String& text = lazy;
    String& same = lazy;
    EXPECT_EQ("lazy", lazy.get());
    EXPECT_EQ(&text, &same);
    EXPECT_EQ("name", String(name));
    name = "other";
    EXPECT_EQ("other", name.get());
}

} // namespace
