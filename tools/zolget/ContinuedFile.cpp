#include "ContinuedFile.hpp"

#include "ContentRange.hpp"
#include "DescriptorOutput.hpp"
#include "Failure.hpp"
#include "StringView.hpp"
#include "Validator.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

namespace zolget
{

namespace http = ZOLNS2::HTTP;

namespace
{

constexpr unsigned short PARTIAL_CONTENT = 206;
constexpr unsigned short RANGE_NOT_SATISFIABLE = 416;

std::optional<ContentRange> rangeOf(const http::ExchangeResponse& response)
{
    const blocxx::String value = response.getHeaders().getHeaderValue("Content-Range");
    return parseContentRange(viewOf(value));
}

} // namespace

ContinuedFile::ContinuedFile(const std::string& path) : m_place(locate(path))
{
    const std::optional<struct stat> status = m_place.status();
    if (!status.has_value())
    {
        if (::faccessat(m_place.folder.get(), ".", W_OK | X_OK, AT_EACCESS) != 0)
        {
            failToWrite(path, errno);
        }
        return;
    }
    if (!S_ISREG(status->st_mode))
    {
        throw Failure(ExitStatus::LOCAL_FILE, "cannot continue " + path + ": it is not a regular file");
    }
    m_file = OpenDescriptor(
        ::openat(m_place.folder.get(), m_place.name.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
    const off_t size = m_file.get() < 0 ? -1 : ::lseek(m_file.get(), 0, SEEK_END);
    if (size < 0)
    {
        failToWrite(path, errno);
    }
    m_size = static_cast<std::uint64_t>(size);
    readValidator();
}

ContinuedFile::~ContinuedFile() = default;

void ContinuedFile::readValidator()
{
    char value[1024];
    const ssize_t length = ::fgetxattr(m_file.get(), ATTRIBUTE, value, sizeof(value));
    if (length > 0)
    {
        m_validator.assign(value, static_cast<std::size_t>(length));
        if (!isStrongValidator(m_validator))
        {
            m_validator.clear();
        }
    }
}

void ContinuedFile::prepare(http::RequestBuilder& request) const
{
    if (asksForRest())
    {
        request.header("Range", "bytes=" + std::to_string(m_size) + "-");
        request.header("If-Range", m_validator);
    }
}

bool ContinuedFile::accept(const http::ExchangeResponse& response)
{
    if (response.getStatus() == RANGE_NOT_SATISFIABLE)
    {
        const auto range = rangeOf(response);
        return asksForRest() && range && !range->bytes && range->total == m_size;
    }
    if (response.getStatus() == PARTIAL_CONTENT)
    {
        checkRange(response);
    }
    m_receivedValidator = strongValidatorOf(response.getHeaders());
    return false;
}

void ContinuedFile::checkRange(const http::ExchangeResponse& response)
{
    const auto range = rangeOf(response);
    const bool isRest = asksForRest() && range && range->bytes && range->bytes->first == m_size &&
                        (!range->total || range->bytes->last == *range->total - 1);
    // A server need not repeat the validator (RFC 9110, section 15.3.7).
    const bool isTag = asksForRest() && m_validator.front() == '"';
    const std::string validator = toStdString(response.getHeaders().getHeaderValue(isTag ? "ETag" : "Last-Modified"));
    const bool isSameVersion = validator.empty() || validator == m_validator;
    if (!isRest || !isSameVersion)
    {
        throw Failure(ExitStatus::MALFORMED,
                      "the server did not send the rest of " + m_place.path + " from byte " + std::to_string(m_size) +
                          " on (Content-Range: " + toStdString(response.getHeaders().getHeaderValue("Content-Range")) +
                          ")");
    }
    m_continues = true;
    m_expected = range->bytes->last - range->bytes->first + 1;
}

void ContinuedFile::beginPart(const ZOLNS2::MIME::ContentTypeHeader& /*type*/)
{
    if (!m_continues)
    {
        beginAnew();
    }
}

void ContinuedFile::beginAnew()
{
    if (m_file.get() < 0)
    {
        m_file = OpenDescriptor(::openat(m_place.folder.get(), m_place.name.c_str(),
                                         O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        if (m_file.get() < 0)
        {
            failToWrite(m_place.path, errno);
        }
    }
    // In this order the validator is never that of another version than the bytes.
    if (::fremovexattr(m_file.get(), ATTRIBUTE) != 0 && errno != ENODATA && errno != ENOTSUP)
    {
        failToWrite(m_place.path, errno);
    }
    if (::ftruncate(m_file.get(), 0) != 0 || ::lseek(m_file.get(), 0, SEEK_SET) != 0)
    {
        failToWrite(m_place.path, errno);
    }
    m_validator.clear();
    // Without it the next run begins anew.
    if (!m_receivedValidator.empty() &&
        ::fsetxattr(m_file.get(), ATTRIBUTE, m_receivedValidator.data(), m_receivedValidator.size(), 0) == 0)
    {
        m_validator = m_receivedValidator;
    }
}

void ContinuedFile::write(std::string_view bytes)
{
    if (m_continues && bytes.size() > m_expected - m_written)
    {
        throw Failure(ExitStatus::MALFORMED, "the server sent more of " + m_place.path + " than it announced");
    }
    writeAll(m_file.get(), m_place.path, bytes);
    m_written += bytes.size();
}

void ContinuedFile::endPart(std::uint64_t length)
{
    if (m_continues && length != m_expected)
    {
        throw Failure(ExitStatus::INCOMPLETE_RESPONSE,
                      "the server sent less of " + m_place.path + " than it announced; -C continues");
    }
}

void ContinuedFile::complete()
{
    if (m_file.get() >= 0 && !m_file.close())
    {
        failToWrite(m_place.path, errno);
    }
}

const char* ContinuedFile::keptText() const
{
    return m_validator.empty() ? "; what arrived is kept, but -C begins anew: there is no validator to be kept"
                               : "; what arrived is kept, -C continues";
}

} // namespace zolget
