#include "blocxx/BaseStreamBuffer.hpp"

#include "io/SpareBuffer.hpp"

#include "blocxx/internal/ForcedUnwind.hpp"
#include "blocxx/internal/StreamFailure.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <utility>

namespace blocxx
{

namespace
{

// What most messages need. The put buffer starts with this much, so that a small request never pays for a large buffer.
const std::streamsize FIRST_PUT_SIZE = 4096;

// The hooks count in int.
std::streamsize usableSize(std::size_t asked)
{
    return static_cast<std::streamsize>(std::clamp<std::size_t>(asked, 1, INT_MAX));
}

} // namespace

BaseStreamBuffer::BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize)
    : BaseStreamBuffer(direction, bufSize, E_NEGATIVE_ENDS)
{
}

BaseStreamBuffer::BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize, ENegativeResult negativeResult)
    : m_direction(direction), m_negativeResult(negativeResult), m_inputState(E_INPUT_OPEN), m_inputError(0),
      m_outputError(0), m_size(usableSize(bufSize)), m_largestDirectRead(m_size), m_putSize(0), m_reportTo(nullptr)
{
}

// Deliberately no flush: the device may be gone or stuck, and whoever writes flushes.
BaseStreamBuffer::~BaseStreamBuffer()
{
    SpareBuffer::release(std::move(m_getBuffer), static_cast<std::size_t>(m_size));
}

void BaseStreamBuffer::initBuffers()
{
    initGetBuffer();
    initPutBuffer();
}

void BaseStreamBuffer::initGetBuffer()
{
    setg(nullptr, nullptr, nullptr);
    m_inputState = E_INPUT_OPEN;
    m_deviceFailedInput = false;
    m_inputErrorText.erase();
}

void BaseStreamBuffer::initPutBuffer()
{
    clearPutArea();
    m_outputError = 0;
    m_outputErrorText.erase();
}

int BaseStreamBuffer::buffer_to_device(const char*, int)
{
    errno = ENOTSUP;
    return -1;
}

int BaseStreamBuffer::buffer_from_device(char*, int)
{
    errno = ENOTSUP;
    return -1;
}

String BaseStreamBuffer::deviceErrorText() const
{
    return {};
}

BaseStreamBuffer::int_type BaseStreamBuffer::underflow()
{
    if (gptr() == egptr() && !refill(m_size, false))
    {
        return traits_type::eof();
    }
    return traits_type::to_int_type(*gptr());
}

std::streamsize BaseStreamBuffer::xsgetn(char* to, std::streamsize count)
{
    std::streamsize got = takeBuffered(to, count);
    if (got < count && count >= m_size)
    {
        // The bytes go past the buffer, so what it last held can no longer be put back.
        setg(nullptr, nullptr, nullptr);
        while (got < count)
        {
            const std::streamsize step = readFromDevice(to + got, std::min(count - got, m_largestDirectRead), got > 0);
            if (step == 0)
            {
                break;
            }
            got += step;
        }
        return got;
    }
    while (got < count && refill(m_size, got > 0))
    {
        got += takeBuffered(to + got, count - got);
    }
    return got;
}

std::streamsize BaseStreamBuffer::takeBuffered(char* to, std::streamsize count)
{
    const std::streamsize run = std::min<std::streamsize>(count, egptr() - gptr());
    if (run <= 0)
    {
        return 0;
    }
    std::memcpy(to, gptr(), static_cast<std::size_t>(run));
    setg(eback(), gptr() + run, egptr());
    return run;
}

void BaseStreamBuffer::setLargestDirectRead(std::size_t size)
{
    m_largestDirectRead = usableSize(size);
}

char* BaseStreamBuffer::getBuffer()
{
    if (!m_getBuffer)
    {
        m_getBuffer = SpareBuffer::acquire(static_cast<std::size_t>(m_size));
    }
    return m_getBuffer.get();
}

bool BaseStreamBuffer::refill(std::streamsize atMost, bool dataBefore)
{
    char* const start = getBuffer();
    setg(start, start, start);
    const std::streamsize count = readFromDevice(start, atMost, dataBefore);
    setg(start, start, start + count);
    return count > 0;
}

inline std::streamsize BaseStreamBuffer::noteRead(int result, std::streamsize room)
{
    if (result > 0 && result <= room && !m_deviceFailedInput)
    {
        m_inputState = E_INPUT_OPEN;
        return result;
    }
    return noteNoData(result, room);
}

// The one place that reads from the device. Returns 0 when there is no more input, whatever the reason.
std::streamsize BaseStreamBuffer::readFromDevice(char* to, std::streamsize room, bool dataBefore)
{
    if (m_direction == E_OUT)
    {
        return 0;
    }
    if (m_inputState == E_INPUT_FAILED)
    {
        reportFailure();
        return 0;
    }
    // Only a cancelled thread leaves it like this. What it had read into the caller's memory is lost, and with it the
    // rest.
    m_inputState = E_INPUT_FAILED;
    m_inputError = ECANCELED;
    return Internal::catchAllButUnwind([&] { return noteRead(buffer_from_device(to, static_cast<int>(room)), room); },
                                       [&]() -> std::streamsize
                                       {
                                           noteFailure(Internal::reasonOfCaughtException());
                                           // The exception would lose the bytes read before it; badbit on the
                                           // stream reports the failure as well.
                                           if (dataBefore && m_reportTo != nullptr)
                                           {
                                               return 0;
                                           }
                                           throw;
                                       });
}

// Returns 0, since the device has delivered nothing that counts.
std::streamsize BaseStreamBuffer::noteNoData(int result, std::streamsize room)
{
    const int error = errno;
    if (m_deviceFailedInput)
    {
        return 0;
    }
    if (result > room)
    {
        noteFailure({EIO, String()});
        return 0;
    }
    if (result < 0 && m_negativeResult == E_NEGATIVE_FAILS)
    {
        noteFailure(reasonOfFailure(error));
        return 0;
    }
    // Deliberately not sticky: a reader that asks again after the end asks the device again.
    m_inputState = E_INPUT_ENDED;
    return 0;
}

void BaseStreamBuffer::failInput(int error, const String& text)
{
    m_deviceFailedInput = true;
    noteFailure({error, text});
}

void BaseStreamBuffer::noteFailure(Internal::FailureReason reason)
{
    m_inputState = E_INPUT_FAILED;
    m_inputError = reason.error;
    m_inputErrorText.swap(reason.text);
    reportFailure();
}

Internal::FailureReason BaseStreamBuffer::reasonOfFailure(int error) const
{
    Internal::FailureReason reason;
    reason.error = error != 0 ? error : EIO;
    try
    {
        reason.text = deviceErrorText();
    }
    catch (const std::exception&) // NOLINT(bugprone-empty-catch)
    {
        // A failure without a text must still be reported.
    }
    return reason;
}

// Quietly: the stream's reading operation throws for its mask itself, after it has counted the bytes that arrived
// before the failure; a throw from here would lose the count.
void BaseStreamBuffer::reportFailure()
{
    if (m_reportTo != nullptr && !m_reportTo->bad())
    {
        Internal::setStateQuietly(*m_reportTo, std::ios_base::badbit);
    }
}

std::streamsize BaseStreamBuffer::xsputn(const char* from, std::streamsize count)
{
    if (m_direction == E_IN)
    {
        return 0;
    }
    std::streamsize done = 0;
    while (done < count)
    {
        const std::streamsize rest = count - done;
        if (pptr() == pbase() && rest >= m_size)
        {
            if (!writeToDevice(from + done, m_size))
            {
                break;
            }
            done += m_size;
            continue;
        }
        if (!makePutRoom(rest))
        {
            break;
        }
        if (pptr() == pbase() && rest >= m_size)
        {
            continue;
        }
        const std::streamsize run = std::min<std::streamsize>(rest, epptr() - pptr());
        std::memcpy(pptr(), from + done, static_cast<std::size_t>(run));
        pbump(static_cast<int>(run));
        done += run;
    }
    return done;
}

BaseStreamBuffer::int_type BaseStreamBuffer::overflow(int_type c)
{
    if (m_direction == E_IN)
    {
        return traits_type::eof();
    }
    if (traits_type::eq_int_type(c, traits_type::eof()))
    {
        return flush() ? traits_type::not_eof(c) : traits_type::eof();
    }
    if (!makePutRoom(1))
    {
        return traits_type::eof();
    }
    *pptr() = traits_type::to_char_type(c);
    pbump(1);
    return c;
}

int BaseStreamBuffer::sync()
{
    return flush() ? 0 : -1;
}

// Leaves at least one byte of room, by growing the buffer up to its size or by flushing it.
bool BaseStreamBuffer::makePutRoom(std::streamsize wanted)
{
    if (wanted > epptr() - pptr() && m_putSize < m_size)
    {
        const bool isSmall = pptr() - pbase() + wanted <= FIRST_PUT_SIZE;
        growPutBuffer(isSmall ? std::min(FIRST_PUT_SIZE, m_size) : m_size);
    }
    return pptr() != epptr() || flush();
}

void BaseStreamBuffer::growPutBuffer(std::streamsize size)
{
    const std::streamsize held = pptr() - pbase();
    std::unique_ptr<char[]> grown(new char[static_cast<std::size_t>(size)]);
    if (held > 0)
    {
        std::memcpy(grown.get(), pbase(), static_cast<std::size_t>(held));
    }
    m_putBuffer = std::move(grown);
    m_putSize = size;
    clearPutArea();
    pbump(static_cast<int>(held));
}

void BaseStreamBuffer::clearPutArea()
{
    setp(m_putBuffer.get(), m_putBuffer.get() + m_putSize);
}

// The put area is empty afterwards, whatever the result: the bytes of a failed flush are lost.
bool BaseStreamBuffer::flush()
{
    const std::streamsize held = pptr() - pbase();
    if (held == 0)
    {
        return true;
    }
    clearPutArea();
    return writeToDevice(m_putBuffer.get(), held);
}

// The one place that writes to the device. Of several failures the first is kept.
bool BaseStreamBuffer::writeToDevice(const char* from, std::streamsize count)
{
    const bool failedBefore = m_outputError != 0;
    const auto note = [&](Internal::FailureReason reason)
    {
        if (!failedBefore)
        {
            m_outputError = reason.error;
            m_outputErrorText.swap(reason.text);
        }
        return false;
    };
    if (!failedBefore)
    {
        m_outputError = ECANCELED; // only a cancelled thread leaves it like this
    }
    return Internal::catchAllButUnwind(
        [&]
        {
            if (buffer_to_device(from, static_cast<int>(count)) < 0)
            {
                return note(reasonOfFailure(errno));
            }
            m_outputError = failedBefore ? m_outputError : 0;
            return true;
        },
        [&]() -> bool
        {
            note(Internal::reasonOfCaughtException());
            throw;
        });
}

} // namespace blocxx
