#pragma once

#include "blocxx/LogAppender.hpp"
#include "blocxx/String.hpp"
#include "zol/mime/ContentTypeHeader.hpp"

#include <string_view>
#include <utility>

namespace ZOLNS2::MIME
{

/// As ContentTypeHeader::setContentTypeString, for a line that nobody needs any more: it is kept and not copied. Where
/// something is logged that function is called, so that its records name it.
class ContentTypeStore
{
public:
    static void set(ContentTypeHeader& header, blocxx::String&& headerLine)
    {
        if (blocxx::LogAppender::nothingIsLogged())
        {
            header.parse(std::move(headerLine), "");
            return;
        }
        header.setContentTypeString(headerLine);
    }

    /// Whether the type is `type`, without regard to case, and without a copy of it.
    static bool isOfType(const ContentTypeHeader& header, const char* type)
    {
        return header.m_type.equalsIgnoreCase(type);
    }

    /// Sets type and subtype, which are no strings yet. @return the parameters of `header`, to be added to
    static blocxx::Array<HTTP::Parameter>& setType(ContentTypeHeader& header, std::string_view type,
                                                   std::string_view subtype)
    {
        header.m_type = blocxx::String(type.data(), type.size());
        header.m_subtype = blocxx::String(subtype.data(), subtype.size());
        return header.m_parameters;
    }

    /// The first parameter, which most headers have at most, makes the array in one go.
    /// @return what was added; valid until the array changes or is copied
    static HTTP::Parameter& append(blocxx::Array<HTTP::Parameter>& parameters, std::string_view name,
                                   std::string_view value)
    {
        if (parameters.empty())
        {
            parameters = blocxx::Array<HTTP::Parameter>(1);
            HTTP::Parameter& first = parameters.front();
            first.name = blocxx::String(name.data(), name.size());
            first.value = blocxx::String(value.data(), value.size());
            return first;
        }
        parameters.push_back(HTTP::Parameter(name.data(), name.size(), value.data(), value.size()));
        return parameters.back();
    }
};

} // namespace ZOLNS2::MIME
