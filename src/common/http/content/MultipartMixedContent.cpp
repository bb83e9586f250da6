#include "zol/mime/MultipartMixedContent.hpp"

#include "content/HTTPContentUnit.hpp"
#include "content/OwnState.hpp"

#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <cstring>
#include <limits>

namespace ZOLNS2::MIME
{

namespace
{

using State = MultipartMixedContentStreamState;

const char DASHES[] = "--";
const char LINE_END[] = "\r\n";
const char HEADER_NAME[] = "content-type: ";
const char HEADER_END[] = "\r\n\r\n";

constexpr size_t textLength(const char* text)
{
    return std::char_traits<char>::length(text);
}

/// Copies what fits of the text that is being written; true when none of it is left.
bool copyText(State& state, char* buffer, int wanted, int& written)
{
    const size_t left = state.text.length() - state.textPosition;
    const size_t count = std::min(left, static_cast<size_t>(wanted - written));
    std::memcpy(buffer + written, state.text.c_str() + state.textPosition, count);
    state.textPosition += count;
    written += static_cast<int>(count);
    return count == left;
}

} // namespace

MultipartMixedContentStreamState::MultipartMixedContentStreamState(const ContentStreamStateRef& firstPartState,
                                                                   const blocxx::String& boundary)
    : partState(firstPartState)
{
    text.append(DASHES).append(boundary).append(LINE_END);
}

MultipartMixedContentStreamState::~MultipartMixedContentStreamState() = default;

MultipartMixedContent::MultipartMixedContent(const blocxx::String& boundary) : m_boundary(boundary) {}

MultipartMixedContent::MultipartMixedContent(const Contents& parts, const blocxx::String& boundary)
    : m_parts(parts), m_boundary(boundary)
{
}

MultipartMixedContent::~MultipartMixedContent() = default;

ContentTypeHeader MultipartMixedContent::getContentType()
{
    return ContentTypeHeader("multipart", "mixed",
                             blocxx::Array<HTTP::Parameter>(1, HTTP::Parameter("boundary", m_boundary)));
}

bool MultipartMixedContent::hasContentLength()
{
    const Contents& parts = m_parts;
    return std::all_of(parts.begin(), parts.end(), [](const ContentRef& part) { return part->hasContentLength(); });
}

unsigned long MultipartMixedContent::getContentLength()
{
    if (!hasContentLength())
    {
        throw ContentException(SOURCE_UNIT, __LINE__, "No ContentLength", 0, nullptr, -1);
    }
    const size_t delimiter = textLength(DASHES) + m_boundary.length();
    const size_t fixedText =
        delimiter + textLength(LINE_END) + textLength(HEADER_NAME) + textLength(HEADER_END) + textLength(LINE_END);
    size_t length = delimiter + textLength(DASHES);
    const Contents& parts = m_parts;
    for (const ContentRef& part : parts)
    {
        length += fixedText + toString(part->getContentType()).length() + part->getContentLength();
    }
    return length;
}

size_t MultipartMixedContent::getData(char* buffer, size_t count, const ContentStreamStateRef& state)
{
    const Contents& parts = m_parts;
    if (parts.empty())
    {
        return END_OF_DATA; // deliberate: not even the closing delimiter
    }
    auto& own = ownState<State>(state);
    const int wanted = static_cast<int>(std::min<size_t>(count, std::numeric_limits<int>::max()));
    int written = 0;
    while (own.phase != State::E_FINISHED && written < wanted)
    {
        if (own.phase != State::E_BODY)
        {
            if (copyText(own, buffer, wanted, written))
            {
                advance(own);
            }
            continue;
        }
        const size_t got =
            parts[own.partIndex]->getData(buffer + written, static_cast<size_t>(wanted - written), own.partState);
        if (got == END_OF_DATA)
        {
            own.aPartEndedBadly = own.aPartEndedBadly || MIME::endedBadly(parts[own.partIndex], own.partState);
            advance(own);
        }
        else
        {
            written += static_cast<int>(got);
        }
    }
    return written != 0 ? static_cast<size_t>(written) : END_OF_DATA;
}

/// From a phase that is done to the next one. The phase changes before its text is made: if the part throws then, the
/// state is past that text.
void MultipartMixedContent::advance(MultipartMixedContentStreamState& state) const
{
    switch (state.phase)
    {
    case State::E_DELIMITER:
    {
        state.phase = State::E_PART_HEADER;
        const blocxx::String type = toString(m_parts[state.partIndex]->getContentType());
        state.text.reset();
        state.text.append(HEADER_NAME).append(type).append(HEADER_END);
        break;
    }
    case State::E_PART_HEADER:
        state.phase = State::E_BODY;
        state.partState = m_parts[state.partIndex]->createInitialStreamState();
        return;
    case State::E_BODY:
        state.phase = State::E_AFTER_BODY;
        state.text = LINE_END;
        break;
    case State::E_AFTER_BODY:
    {
        ++state.partIndex;
        const bool partsRemain = state.partIndex < m_parts.size();
        state.phase = partsRemain ? State::E_DELIMITER : State::E_CLOSING_DELIMITER;
        state.text.reset();
        state.text.append(DASHES).append(m_boundary).append(partsRemain ? LINE_END : DASHES);
        break;
    }
    default:
        state.phase = State::E_FINISHED;
        return;
    }
    state.textPosition = 0;
}

ContentStreamStateRef MultipartMixedContent::createInitialStreamState() const
{
    ContentStreamStateRef partState;
    if (!m_parts.empty())
    {
        partState = m_parts[0]->createInitialStreamState();
    }
    return ContentStreamStateRef(new State(partState, m_boundary));
}

bool MultipartMixedContent::endedBadly(const ContentStreamStateRef& state) const
{
    return !m_parts.empty() && ownState<State>(state).aPartEndedBadly;
}

blocxx::String MultipartMixedContent::getBoundary()
{
    return m_boundary;
}

void MultipartMixedContent::setBoundary(blocxx::String boundary)
{
    m_boundary = boundary;
}

Contents& MultipartMixedContent::getParts()
{
    return m_parts;
}

void MultipartMixedContent::addPart(ContentRef part)
{
    m_parts.push_back(part);
}

} // namespace ZOLNS2::MIME
