#pragma once

#include "zol/mime/Content.hpp"
#include "zol/mime/ContentException.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace mime_test
{

/// A content of type text/plain, without parameters, that behaves as a test wants it to.
class ScriptedContent : public ZOLNS2::MIME::Content
{
public:
    enum Behaviour
    {
        PLAIN,
        NO_LENGTH,
        ONE_STATE,         ///< a second state is refused
        EVERY_OTHER_TIME,  ///< delivers one byte, then nothing, then one byte
        RECORDS_REQUESTS,  ///< notes the size of the first request
        THROWS_ONCE,       ///< at the first getData()
        TYPE_THROWS_ONCE,  ///< at the first getContentType()
        STATE_THROWS_ONCE, ///< at the first createInitialStreamState()
        ALWAYS_THROWS      ///< at every getData() once the bytes are gone
    };

    class State : public ZOLNS2::MIME::ContentStreamState
    {
    public:
        size_t position = 0;
        bool pause = false;
    };

    explicit ScriptedContent(std::string bytes, Behaviour behaviour = PLAIN, int* asked = nullptr)
        : m_bytes(std::move(bytes)), m_behaviour(behaviour), m_asked(asked)
    {
    }

    ZOLNS2::MIME::ContentTypeHeader getContentType() override
    {
        throwOnce(TYPE_THROWS_ONCE);
        return {"text", "plain", blocxx::Array<ZOLNS2::HTTP::Parameter>()};
    }
    bool hasContentLength() override
    {
        if (m_asked != nullptr)
        {
            ++*m_asked;
        }
        return m_behaviour != NO_LENGTH;
    }
    size_t getContentLength() override { return m_bytes.size(); }

    size_t getData(char* buffer, size_t count, const ZOLNS2::MIME::ContentStreamStateRef& state) override
    {
        throwOnce(THROWS_ONCE);
        if (m_behaviour == RECORDS_REQUESTS && m_times++ == 0)
        {
            lastFirstRequest() = count;
        }
        const auto own = state.cast_to<State>();
        if (own->position == m_bytes.size())
        {
            if (m_behaviour == ALWAYS_THROWS)
            {
                throw std::runtime_error("the content broke");
            }
            return ZOLNS2::MIME::END_OF_DATA;
        }
        own->pause = !own->pause;
        const size_t most = m_behaviour == EVERY_OTHER_TIME ? (own->pause ? 1 : 0) : count;
        const size_t got = std::min({count, most, m_bytes.size() - own->position});
        std::memcpy(buffer, m_bytes.data() + own->position, got);
        own->position += got;
        return got;
    }

    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override
    {
        throwOnce(STATE_THROWS_ONCE);
        if (m_behaviour == ONE_STATE && m_times++ > 0)
        {
            throw ZOLNS2::MIME::ContentException("test", __LINE__, "only once", -1, nullptr, -1);
        }
        return {new State};
    }

    static size_t& lastFirstRequest()
    {
        static size_t request = 0;
        return request;
    }

private:
    void throwOnce(Behaviour behaviour) const
    {
        if (m_behaviour == behaviour && m_times++ == 0)
        {
            throw std::runtime_error("the content broke");
        }
    }

    std::string m_bytes;
    Behaviour m_behaviour;
    int* m_asked;
    mutable int m_times = 0;
};

/// Notes every call but those about the length.
class RecordingContent : public ScriptedContent
{
public:
    RecordingContent(const std::string& name, std::vector<std::string>& calls)
        : ScriptedContent(name), m_name(name), m_calls(calls)
    {
    }

    ZOLNS2::MIME::ContentTypeHeader getContentType() override
    {
        m_calls.push_back(m_name + " type");
        return ScriptedContent::getContentType();
    }
    size_t getData(char* buffer, size_t count, const ZOLNS2::MIME::ContentStreamStateRef& state) override
    {
        m_calls.push_back(m_name + " data");
        return ScriptedContent::getData(buffer, count, state);
    }
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override
    {
        m_calls.push_back(m_name + " state");
        return ScriptedContent::createInitialStreamState();
    }

private:
    std::string m_name;
    std::vector<std::string>& m_calls;
};

} // namespace mime_test
