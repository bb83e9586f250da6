#pragma once

#include "exchange/MultipartSource.hpp"

#include "blocxx/String.hpp"
#include "zol/mime/MultipartReader.hpp"
#include "zol/search/boyer_moore_search.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <streambuf>
#include <string>
#include <string_view>

namespace ZOLNS2::MIME
{

/// A multipart body seen as a sequence of sections: the preamble, and one for each part, its header fields included. As a
/// stream buffer it yields the bytes of the section that it stands in, in place, and ends where that does.
///
///     delimiter := CRLF "--" boundary        RFC 2046 section 5.1.1
///     close-delimiter := delimiter "--"
///
/// White space may follow either on its line. LF alone ends a line, too. At the beginning of the body, and behind the header
/// fields of a part, a delimiter needs no line end of its own in front.
class MultipartScanner : public std::streambuf
{
public:
    MultipartScanner(std::unique_ptr<MultipartSource> source, const blocxx::String& boundary,
                     const MultipartReader::Limits& limits);
    ~MultipartScanner() override;

    /// Passes over the rest of the section and enters the next one. @return false behind the closing delimiter
    /// @throws HTTP::ExchangeException if the body ended before that, or is over a limit
    bool enterNext();

    /// Bytes of the section, large ones straight from the source. @return 0 at its end
    std::size_t read(char* to, std::size_t room);

    /// Of the section that it stands in; 0 is the preamble.
    std::size_t section() const { return m_section; }

    /// Whether the section ended because the body did, instead of at a delimiter.
    bool isCut() const { return m_sourceEnded && !m_atDelimiter; }

    /// @throws HTTP::ExchangeException that says so
    [[noreturn]] void throwCut() const;

    const MultipartReader::Limits& limits() const { return m_limits; }

    MultipartScanner(const MultipartScanner&) = delete;
    MultipartScanner& operator=(const MultipartScanner&) = delete;

protected:
    int_type underflow() override;

private:
    enum ELine
    {
        E_NOT_WHOLE, ///< more has to be read
        E_ORDINARY,
        E_DELIMITER,
        E_CLOSING
    };

    bool advance();
    bool exposeHeld();
    bool sectionEnded() const { return m_atDelimiter || m_over || m_sourceEnded; }
    std::size_t readDirect(char* to, std::size_t room);
    std::size_t readSource(char* to, std::size_t room);
    void dropRest();
    void fill();
    bool scan();
    ELine classify(std::size_t at, std::size_t& behind) const;
    bool isLineStart(std::size_t at) const;
    std::size_t dataEnd(std::size_t at) const;
    void expose(std::size_t end);
    std::size_t held() const { return m_filled - position(); }
    std::size_t position() const { return static_cast<std::size_t>(gptr() - m_window.get()); }

    static constexpr std::size_t WINDOW_SIZE = 65536;

    std::unique_ptr<MultipartSource> m_source;
    const std::string m_delimiter; // "--" and the boundary
    const boyer_moore_search<char, std::size_t, std::ptrdiff_t> m_search;
    const MultipartReader::Limits m_limits;
    const std::size_t m_windowSize;
    std::unique_ptr<char[]> m_window;
    std::size_t m_filled = 0;       // bytes in the window
    std::size_t m_searched = 0;     // no delimiter begins in front of this
    std::size_t m_sectionStart = 0; // in the window; a line start
    std::size_t m_behindDelimiter = 0;
    std::uint64_t m_total = 0;
    std::size_t m_section = 0;
    bool m_sectionStartIsInWindow = true;
    bool m_sourceEnded = false;
    bool m_atDelimiter = false; // the get area ends at one
    bool m_isClosing = false;   // which is the closing one
    bool m_over = false;
};

using MultipartScannerRef = std::shared_ptr<MultipartScanner>;

} // namespace ZOLNS2::MIME
