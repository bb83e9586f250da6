#pragma once

#include "Options.hpp"

#include "zol/http.hpp"

#include <cstddef>

namespace zolget
{

/// The body of a request, or a part of it: another content, delivered in exactly the length that was announced for it.
/// Where the other has nothing to deliver between two of its pieces (files, for example), the next piece is asked for
/// at once, since a stream that reads this content takes an empty delivery for the end.
class Body : public ZOLNS2::MIME::Content
{
public:
    /// `maximalGaps` is how often in a row the content may deliver nothing before that is taken for its end.
    Body(const ZOLNS2::MIME::ContentRef& content, const ZOLNS2::MIME::ContentTypeHeader& type, std::size_t length,
         std::size_t maximalGaps);

    ZOLNS2::MIME::ContentTypeHeader getContentType() override;
    bool hasContentLength() override;
    std::size_t getContentLength() override;
    std::size_t getData(char* buffer, std::size_t size, const ZOLNS2::MIME::ContentStreamStateRef& state) override;
    ZOLNS2::MIME::ContentStreamStateRef createInitialStreamState() const override;

    /// True once a reader has taken all of the announced length.
    bool wasTaken() const { return m_wasTaken; }

    /// True once a reader has met the other content's end before the announced length.
    bool wasShort() const { return m_wasShort; }

private:
    ZOLNS2::MIME::ContentRef m_content;
    ZOLNS2::MIME::ContentTypeHeader m_type;
    std::size_t m_length;
    std::size_t m_maximalGaps;
    bool m_wasTaken = false;
    bool m_wasShort = false;
};

using BodyRef = blocxx::IntrusiveReference<Body>;

/// The body that the options ask for; null when they ask for none, or for one without any bytes. Throws Failure
/// (LOCAL_FILE) for a file that cannot be read or whose length is not known beforehand.
BodyRef makeBody(const Options& options);

} // namespace zolget
