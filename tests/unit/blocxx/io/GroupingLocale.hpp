#pragma once

#include <locale>
#include <string>

namespace zol_test
{

/// While it lives, the global C++ locale writes 1.234,5 for a thousand two hundred and thirty-four and a half.
class GroupingLocale
{
public:
    GroupingLocale() : m_before(std::locale::global(std::locale(std::locale::classic(), new Punctuation))) {}
    ~GroupingLocale() { std::locale::global(m_before); }
    GroupingLocale(const GroupingLocale&) = delete;
    GroupingLocale& operator=(const GroupingLocale&) = delete;

private:
    struct Punctuation : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
        char do_thousands_sep() const override { return '.'; }
        std::string do_grouping() const override { return "\3"; }
    };

    std::locale m_before;
};

} // namespace zol_test
