#include "exchange/RecentResponse.hpp"

#include "exchange/ContentTypeField.hpp"
#include "message/HeaderStore.hpp"

#include <cstddef>
#include <cstring>
#include <vector>

namespace ZOLNS2::HTTP
{

namespace
{

inline void change(blocxx::String& text, const char* to, std::size_t length)
{
    if (text.length() != length || std::memcmp(text.c_str(), to, length) != 0)
    {
        text = blocxx::String(to, length);
    }
}

} // namespace

const Headers& RecentResponse::fieldsOf(const HeadInPlace& head)
{
    // A program that still holds those before keeps its own: they are copied then.
    std::vector<Header>& lines = HeaderStore::linesOf(m_fields, 0);
    lines.resize(head.fieldCount());
    auto line = lines.begin();
    for (const HeadInPlace::Field& field : head)
    {
        change(line->name, field.name, field.nameLength);
        change(line->value, field.value, field.valueLength);
        ++line;
    }
    return m_fields;
}

const MIME::ContentTypeHeader& RecentResponse::typeOf(const Headers& fields)
{
    const blocxx::String* const text = HeaderStore::find(fields, "Content-Type");
    if (text == nullptr)
    {
        return octetStreamType();
    }
    if (m_typeText.empty() || m_typeText != *text)
    {
        m_typeText.erase(); // whatever memory there is for the rest
        m_type = contentTypeOf(fields, octetStreamType());
        m_typeText = *text;
    }
    return m_type;
}

} // namespace ZOLNS2::HTTP
