#pragma once

#include "blocxx/BLOCXX_config.h"
#include "blocxx/String.hpp"

#include <cstddef>
#include <ios>
#include <memory>
#include <streambuf>

namespace blocxx
{

namespace Internal
{
class DirectInput;
class DirectOutput;
struct FailureReason;
} // namespace Internal

/// The bytes of a buffer that is given no size.
const std::size_t BASE_BUF_SIZE = 256;
/// The bytes that a content is asked for at a time.
const std::size_t HTTP_BUF_SIZE = 4096;

/// A stream buffer over a device that subclasses supply through two hooks, `buffer_from_device` and
/// `buffer_to_device`.
///
/// @code
/// class TextBuffer : public blocxx::BaseStreamBuffer
/// {
/// public:
///     explicit TextBuffer(std::string text) : BaseStreamBuffer(E_IN), m_text(std::move(text)) {}
///
/// protected:
///     int buffer_from_device(char* to, int room) override
///     {
///         const std::size_t count = m_text.copy(to, static_cast<std::size_t>(room), m_next);
///         m_next += count;
///         return static_cast<int>(count); // 0 ends the input
///     }
///
/// private:
///     const std::string m_text;
///     std::size_t m_next = 0;
/// };
/// @endcode
///
/// Blocks move as blocks: what is buffered is copied in runs, and a read or write of at least the buffer's size goes
/// straight between the caller's memory and the device, in requests of at most the buffer's size. Nothing waits to fill
/// a buffer: a refill hands over what one device read delivered.
///
/// The buffer remembers how its input ended. Data that arrived before a failure is delivered first; then badbit is set
/// on the stream named with `reportErrorsTo`, so that a reader can tell a complete input from a cut one. An orderly end
/// never sets badbit. After a failure the device is not asked again; after an orderly end it is.
///
/// It remembers a failed write as well, also where the stream that wrote shows no bit: a stream that inserts another
/// buffer (`out << in.rdbuf()`) sets none once a single byte has been accepted.
///
/// The destructor neither flushes nor blocks: whoever writes flushes. Not copyable; one thread at a time.
class BLOCXX_COMMON_API BaseStreamBuffer : public std::streambuf
{
public:
    /// Which sides the buffer has.
    enum EDirectionFlag
    {
        E_IN,
        E_OUT,
        E_IN_OUT
    };

    /// How the input ended, if it has.
    enum EInputState
    {
        E_INPUT_OPEN,  ///< it has not ended
        E_INPUT_ENDED, ///< an orderly end
        E_INPUT_FAILED ///< an error: what was read is not all there should have been
    };

    /// How far the output has got.
    enum EOutputState
    {
        E_OUTPUT_SENT,    ///< the device has accepted every byte that was written
        E_OUTPUT_PENDING, ///< bytes are waiting in the buffer for a flush
        E_OUTPUT_FAILED   ///< a write failed: the device has not got all bytes
    };

    /// @param bufSize bytes of each direction's buffer, at least 1; it is allocated when it is first needed. A
    /// negative result of `buffer_from_device` ends the input.
    explicit BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize = BASE_BUF_SIZE);

    BaseStreamBuffer(const BaseStreamBuffer&) = delete;
    BaseStreamBuffer& operator=(const BaseStreamBuffer&) = delete;
    ~BaseStreamBuffer() override;

    /// How the input ended, if it has.
    EInputState inputState() const { return m_inputState; }

    /// The `errno` value of the input's failure, 0 if the input has not failed. It is the error code of an exception
    /// that the device threw, EIO if that had none; ECANCELED if the thread was cancelled while it read.
    int inputError() const { return m_inputState == E_INPUT_FAILED ? m_inputError : 0; }

    /// What the device says about the input's failure beyond inputError(), or the message of the exception that it
    /// threw. Empty if there is no such text, or if the input has not failed.
    String inputErrorText() const { return m_inputState == E_INPUT_FAILED ? m_inputErrorText : String(); }

    /// A failure stays until the output is reset; bytes that are written after it may still reach the device.
    EOutputState outputState() const
    {
        if (m_outputError != 0)
        {
            return E_OUTPUT_FAILED;
        }
        return pptr() != pbase() ? E_OUTPUT_PENDING : E_OUTPUT_SENT;
    }

    /// As inputError() and inputErrorText(), for the first write that failed.
    int outputError() const { return m_outputError; }
    /// The reason for the failed output in words; empty if there is none.
    String outputErrorText() const { return m_outputErrorText; }

    /// Names the stream on which badbit is set when the input fails; null for none. The stream must outlive its
    /// registration here. If the stream's exception mask asks for it, its reading operations throw after the data that
    /// arrived before the failure has been delivered.
    void reportErrorsTo(std::ios* stream) { m_reportTo = stream; }

protected:
    /// What a negative result of `buffer_from_device` means.
    enum ENegativeResult
    {
        E_NEGATIVE_ENDS, ///< the end of the input, like 0
        E_NEGATIVE_FAILS ///< a failure, the reason in `errno`
    };

    /// As the public one, and what a negative result of buffer_from_device() means.
    BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize, ENegativeResult negativeResult);

    int_type underflow() override;
    std::streamsize xsgetn(char* to, std::streamsize count) override;
    std::streamsize xsputn(const char* from, std::streamsize count) override;
    int_type overflow(int_type c) override;
    int sync() override;

    /// Drops unread input and pending output; the input counts as open again and the output as sent.
    virtual void initBuffers();
    /// Allocates the buffer of the input.
    virtual void initGetBuffer();
    /// Allocates the buffer of the output.
    virtual void initPutBuffer();

    /// Writes all of n bytes. @return negative on failure, the reason in `errno`; the bytes are lost then. An exception
    /// counts as a failure too, and passes on to the stream.
    virtual int buffer_to_device(const char* c, int n);

    /// Reads up to n bytes. @return the bytes read; 0 at the orderly end; negative as the constructor says. More
    /// than n counts as a failure. An exception counts as a failure too; it passes on to the stream unless bytes
    /// that were read before it have still to be delivered.
    virtual int buffer_from_device(char* c, int n);

    /// For `buffer_from_device`: what ends the input now is a failure, whatever the result says.
    void failInput(int error, const String& text);

    /// Lets a read that goes past the buffer ask the device for up to `size` bytes at once, for a device whose callers
    /// cannot see the difference. At first it is the buffer's size.
    void setLargestDirectRead(std::size_t size);

    /// What the device can say beyond `errno` about the read or write that has just failed; empty by default.
    virtual String deviceErrorText() const;

private:
    friend class Internal::DirectInput;
    friend class Internal::DirectOutput;

    std::streamsize readFromDevice(char* to, std::streamsize room, bool dataBefore);
    std::streamsize noteRead(int result, std::streamsize room);
    std::streamsize noteNoData(int result, std::streamsize room);
    void noteFailure(Internal::FailureReason reason);
    Internal::FailureReason reasonOfFailure(int error) const;
    void reportFailure();
    char* getBuffer();
    bool refill(std::streamsize atMost, bool dataBefore);
    std::streamsize takeBuffered(char* to, std::streamsize count);
    bool makePutRoom(std::streamsize wanted);
    void growPutBuffer(std::streamsize size);
    void clearPutArea();
    bool flush();
    bool writeToDevice(const char* from, std::streamsize count);

    const EDirectionFlag m_direction;
    const ENegativeResult m_negativeResult;
    EInputState m_inputState;
    bool m_deviceFailedInput = false; // by failInput()
    int m_inputError;
    int m_outputError; // 0 as long as no write has failed
    const std::streamsize m_size;
    std::streamsize m_largestDirectRead;
    std::streamsize m_putSize;
    std::ios* m_reportTo;
    std::unique_ptr<char[]> m_getBuffer;
    std::unique_ptr<char[]> m_putBuffer;
    String m_inputErrorText;
    String m_outputErrorText;
};

} // namespace blocxx
