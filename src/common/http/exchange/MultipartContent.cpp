#include "zol/mime/MultipartContent.hpp"

#include "content/OwnState.hpp"
#include "exchange/Boundary.hpp"
#include "exchange/MediaType.hpp"
#include "exchange/PartHead.hpp"
#include "exchange/Refusal.hpp"
#include "exchange/Text.hpp"

#include "blocxx/Format.hpp"
#include "zol/mime/FileContent.hpp"
#include "zol/mime/OctetStreamContent.hpp"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

namespace ZOLNS2::MIME
{

namespace
{

using blocxx::String;

const char FORM_DATA[] = "form-data";
const char DISPOSITION[] = "Content-Disposition";

bool hasHeader(const HTTP::Headers& headers, const char* name)
{
    return std::any_of(headers.begin(), headers.end(),
                       [name](const HTTP::Header& header) { return header.name.equalsIgnoreCase(name); });
}

} // namespace

/// The position of one reader: in the text between two contents, or in the content behind it.
class MultipartContent::State : public ContentStreamState
{
public:
    State(const blocxx::Array<Part>& allParts, String boundaryText) : parts(allParts), boundary(std::move(boundaryText))
    {
        for (const Part& part : parts)
        {
            partStates.push_back(part.content->createInitialStreamState());
        }
        writeDelimiter();
    }

    /// Puts the delimiter in front of the current part, or the closing one, behind the text.
    void writeDelimiter()
    {
        const bool isLast = index == parts.size();
        text += "--" + boundary + (isLast ? "--\r\n" : "\r\n" + parts[index].head);
    }

    void leavePart()
    {
        partStates[index] = ContentStreamStateRef(); // gives back what it holds
        ++index;
        text = "\r\n";
        textPosition = 0;
        writeDelimiter();
    }

    bool hasText() const { return textPosition < text.length(); }

    size_t takeText(char* buf, size_t len)
    {
        const size_t count = std::min(len, text.length() - textPosition);
        std::memcpy(buf, text.c_str() + textPosition, count);
        textPosition += count;
        return count;
    }

    const blocxx::Array<Part> parts;
    const String boundary;
    std::vector<ContentStreamStateRef> partStates;
    size_t index = 0; ///< of the part whose content is behind the text
    String text;
    size_t textPosition = 0;
    bool aPartEndedBadly = false;
};

MultipartContent::MultipartContent(const String& subtype)
    : m_subtype(subtype), m_boundary(makeBoundary()), m_boundaryIsGiven(false)
{
    mediaTypeText(typeHeader());
}

MultipartContent::MultipartContent(const String& subtype, const String& boundary)
    : m_subtype(subtype), m_boundary(boundary), m_boundaryIsGiven(true)
{
    checkBoundary(boundary);
    mediaTypeText(typeHeader());
}

MultipartContent::~MultipartContent() = default;

void MultipartContent::setParameter(const String& name, const String& value)
{
    const blocxx::Array<HTTP::Parameter> all = typeHeader().getParameters();
    if (std::any_of(all.begin(), all.end(),
                    [&name](const HTTP::Parameter& parameter) { return parameter.name.equalsIgnoreCase(name); }))
    {
        refuseContent("The content type has a parameter " + HTTP::quoted(name) + " already");
    }
    const HTTP::Parameter parameter(name, value);
    mediaTypeText(ContentTypeHeader("multipart", m_subtype, blocxx::Array<HTTP::Parameter>(1, parameter)));
    m_parameters.push_back(parameter);
}

void MultipartContent::append(const String& head, const ContentRef& content)
{
    if (m_boundaryIsGiven && containsDelimiter(content, m_boundary))
    {
        refuseContent("The boundary \"" + m_boundary + "\" occurs in the content of a part");
    }
    m_parts.push_back(Part{head, content});
}

void MultipartContent::addPart(const ContentRef& content, const HTTP::Headers& headers)
{
    if (!content)
    {
        refuseContent("A part needs a content");
    }
    if (m_subtype.equalsIgnoreCase(FORM_DATA) && !hasHeader(headers, DISPOSITION))
    {
        refuseContent("A part of form-data needs a name: addField() and addFile() give it one");
    }
    append(partHead(headers, mediaTypeText(content->getContentType())), content);
}

void MultipartContent::checkFormData() const
{
    if (!m_subtype.equalsIgnoreCase(FORM_DATA))
    {
        refuseContent("multipart/" + m_subtype + " has no fields and files: addPart() adds a part");
    }
}

void MultipartContent::addField(const String& name, const String& value)
{
    checkFormData();
    HTTP::Headers headers;
    headers.addHeader(DISPOSITION, formDataDisposition(name, nullptr));
    append(partHead(headers, String()), ContentRef(new ApplicationOctetStreamContent(value.c_str(), value.length())));
}

void MultipartContent::addField(const String& name, const ContentRef& content)
{
    checkFormData();
    HTTP::Headers headers;
    headers.addHeader(DISPOSITION, formDataDisposition(name, nullptr));
    addPart(content, headers);
}

void MultipartContent::addFile(const String& name, const ContentRef& content, const String& fileName)
{
    checkFormData();
    HTTP::Headers headers;
    headers.addHeader(DISPOSITION, formDataDisposition(name, &fileName));
    addPart(content, headers);
}

void MultipartContent::addFile(const String& name, const String& path, const String& type)
{
    const size_t slash = HTTP::viewOf(path).rfind('/');
    const String fileName = slash == std::string_view::npos ? path : path.substring(slash + 1);
    addFile(name, ContentRef(new FileContent(path, type)), fileName);
}

ContentTypeHeader MultipartContent::getContentType()
{
    return typeHeader();
}

ContentTypeHeader MultipartContent::typeHeader() const
{
    blocxx::Array<HTTP::Parameter> parameters(1, HTTP::Parameter("boundary", m_boundary));
    for (const HTTP::Parameter& parameter : m_parameters)
    {
        parameters.push_back(parameter);
    }
    return ContentTypeHeader("multipart", m_subtype, parameters);
}

bool MultipartContent::hasContentLength()
{
    const blocxx::Array<Part>& parts = m_parts;
    return std::all_of(parts.begin(), parts.end(), [](const Part& part) { return part.content->hasContentLength(); });
}

size_t MultipartContent::getContentLength()
{
    if (!hasContentLength())
    {
        refuseContent("The length is not known: a part does not know its own");
    }
    const size_t delimiter = std::strlen("--") + m_boundary.length() + std::strlen("\r\n");
    size_t length = delimiter + std::strlen("--");
    const blocxx::Array<Part>& parts = m_parts;
    for (const Part& part : parts)
    {
        length += delimiter + part.head.length() + part.content->getContentLength() + std::strlen("\r\n");
    }
    return length;
}

size_t MultipartContent::getData(char* buf, size_t len, const ContentStreamStateRef& state)
{
    auto& own = ownState<State>(state);
    for (;;)
    {
        // A text is returned by itself: nothing is lost when the content behind it throws.
        if (own.hasText())
        {
            return own.takeText(buf, len);
        }
        if (own.index == own.parts.size())
        {
            return END_OF_DATA;
        }
        if (len == 0)
        {
            return 0;
        }
        const ContentRef& content = own.parts[own.index].content;
        const ContentStreamStateRef& partState = own.partStates[own.index];
        const size_t count = content->getData(buf, len, partState);
        if ((count == 0 || count == END_OF_DATA) && MIME::endedBadly(content, partState))
        {
            own.aPartEndedBadly = true;
            refuseContent(
                blocxx::Format("The content of part %1 ended before all of its data was delivered", own.index + 1));
        }
        if (count != END_OF_DATA)
        {
            return count;
        }
        own.leavePart();
    }
}

ContentStreamStateRef MultipartContent::createInitialStreamState() const
{
    return ContentStreamStateRef(new State(m_parts, m_boundary));
}

bool MultipartContent::endedBadly(const ContentStreamStateRef& state) const
{
    const auto& own = ownState<State>(state);
    return own.aPartEndedBadly ||
           (own.index < own.parts.size() && MIME::endedBadly(own.parts[own.index].content, own.partStates[own.index]));
}

Contents MultipartContent::getParts() const
{
    Contents contents;
    for (const Part& part : m_parts)
    {
        contents.push_back(part.content);
    }
    return contents;
}

} // namespace ZOLNS2::MIME
