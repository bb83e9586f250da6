#pragma once

#include <locale>
#include <string>

namespace zol_test
{

/// While it lives, the global C++ locale writes 1234567 as "1.234.567" and 0.5 as "0,5".
class GroupingLocale
{
public:
    GroupingLocale() : m_before(std::locale::global(std::locale(std::locale::classic(), new Punctuation))) {}
    GroupingLocale(const GroupingLocale&) = delete;
    GroupingLocale& operator=(const GroupingLocale&) = delete;
    ~GroupingLocale() { std::locale::global(m_before); }

private:
    class Punctuation : public std::numpunct<char>
    {
        char do_thousands_sep() const override { return '.'; }
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };

    const std::locale m_before;
};

} // namespace zol_test
