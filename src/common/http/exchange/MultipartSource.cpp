#include "exchange/MultipartSource.hpp"

#include "exchange/ReceivedBody.hpp"

#include "blocxx/BaseStreamBuffer.hpp"
#include "zol/mime/ContentEnd.hpp"

#include <algorithm>
#include <istream>

namespace ZOLNS2::MIME
{

namespace
{

using HTTP::ExchangeException;

class ContentSource : public MultipartSource
{
public:
    explicit ContentSource(const ContentRef& content) : m_content(content), m_state(content->createInitialStreamState())
    {
    }

    std::size_t read(char* to, std::size_t room) override
    {
        // A content that never ends, and never delivers, must not hold its reader for ever.
        constexpr int MOST_EMPTY_READS = 64;
        for (int emptyReads = 0; emptyReads < MOST_EMPTY_READS; ++emptyReads)
        {
            const std::size_t count = m_content->getData(to, room, m_state);
            if (count != 0)
            {
                return count == END_OF_DATA ? 0 : count;
            }
        }
        return 0;
    }

    ExchangeException::ECause cause(blocxx::String& text) const override
    {
        if (const auto received = m_content.cast_to<HTTP::ReceivedBody>())
        {
            text = received->endText();
            return endedBadly(m_content, m_state) ? received->cause() : ExchangeException::E_CUT;
        }
        text = endedBadly(m_content, m_state) ? "its content ended badly" : "";
        return ExchangeException::E_CUT;
    }

private:
    ContentRef m_content;
    ContentStreamStateRef m_state;
};

class StreamSource : public MultipartSource
{
public:
    explicit StreamSource(std::istream& stream) : m_stream(stream) {}

    // What has arrived is enough: a read that waits to fill its room would hold up the parts that are there.
    std::size_t read(char* to, std::size_t room) override
    {
        if (m_stream.fail() ||
            std::streambuf::traits_type::eq_int_type(m_stream.rdbuf()->sgetc(), std::streambuf::traits_type::eof()))
        {
            return 0;
        }
        const std::streamsize held = std::max<std::streamsize>(m_stream.rdbuf()->in_avail(), 1);
        return static_cast<std::size_t>(
            m_stream.rdbuf()->sgetn(to, std::min(held, static_cast<std::streamsize>(room))));
    }

    ExchangeException::ECause cause(blocxx::String& text) const override
    {
        const auto* const buffer = dynamic_cast<const blocxx::BaseStreamBuffer*>(m_stream.rdbuf());
        text = buffer != nullptr ? buffer->inputErrorText() : blocxx::String();
        return ExchangeException::E_CUT;
    }

private:
    std::istream& m_stream;
};

} // namespace

std::unique_ptr<MultipartSource> multipartSource(const ContentRef& content)
{
    return std::make_unique<ContentSource>(content);
}

std::unique_ptr<MultipartSource> multipartSource(std::istream& stream)
{
    return std::make_unique<StreamSource>(stream);
}

} // namespace ZOLNS2::MIME
