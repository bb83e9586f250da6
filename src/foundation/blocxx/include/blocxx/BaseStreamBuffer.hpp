#pragma once

#include "blocxx/BLOCXX_config.h"

#include <cstddef>
#include <ios>
#include <memory>
#include <streambuf>

namespace blocxx
{

const std::size_t BASE_BUF_SIZE = 256;
const std::size_t HTTP_BUF_SIZE = 4096;

/// A stream buffer over a device that subclasses supply through two hooks, `buffer_from_device` and
/// `buffer_to_device`.
///
/// Blocks move as blocks: what is buffered is copied in runs, and a read or write of at least the buffer's size goes
/// straight between the caller's memory and the device, in requests of at most the buffer's size. Nothing waits to fill
/// a buffer: a refill hands over what one device read delivered.
///
/// The buffer remembers how its input ended. Data that arrived before a failure is delivered first; then badbit is set
/// on the stream named with `reportErrorsTo`, so that a reader can tell a complete input from a cut one. An orderly end
/// never sets badbit. After a failure the device is not asked again; after an orderly end it is.
///
/// The destructor neither flushes nor blocks: whoever writes flushes. Not copyable; one thread at a time.
class BLOCXX_COMMON_API BaseStreamBuffer : public std::streambuf
{
public:
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

    /// Bytes that are buffered and unread, where they lie. Valid until the buffer is read from again.
    struct Window
    {
        const char* data;
        std::size_t size;
    };

    /// @param bufSize bytes of one direction's buffer, at least 1; the memory is taken when it is first needed. A
    /// negative answer of `buffer_from_device` ends the input.
    explicit BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize = BASE_BUF_SIZE);

    BaseStreamBuffer(const BaseStreamBuffer&) = delete;
    BaseStreamBuffer& operator=(const BaseStreamBuffer&) = delete;
    ~BaseStreamBuffer() override;

    EInputState inputState() const { return m_inputState; }

    /// The `errno` value that the failed input left, 0 if the input has not failed.
    int inputError() const { return m_inputError; }

    /// Names the stream on which badbit is set when the input fails; null for none. The stream must outlive its
    /// registration here. If the stream's exception mask asks for it, its reading operations throw after the data that
    /// arrived before the failure has been delivered.
    void reportErrorsTo(std::ios* stream) { m_reportTo = stream; }

    Window window() const { return {gptr(), static_cast<std::size_t>(egptr() - gptr())}; }

    /// Takes that many bytes of the window as read; more than the window holds takes them all.
    void consume(std::size_t count);

    /// Fills an empty window with what one device read of at most `atMost` bytes delivers; leaves one that holds bytes.
    /// @return whether the window holds any
    bool fillWindow(std::size_t atMost);

    /// Reads straight from the device into the caller's memory, past an empty window, as much as one read delivers. Up
    /// to `ahead` bytes behind them may come along; those become the window.
    /// @param to room for `count` + `ahead` bytes, all of which may be written to
    /// @return the bytes of the `count`; 0 at the end of the input
    std::size_t readPast(char* to, std::size_t count, std::size_t ahead);

protected:
    /// What a negative answer of `buffer_from_device` means.
    enum ENegativeAnswer
    {
        E_NEGATIVE_ENDS, ///< the end of the input, like 0
        E_NEGATIVE_FAILS ///< a failure, the reason in `errno`
    };

    BaseStreamBuffer(EDirectionFlag direction, std::size_t bufSize, ENegativeAnswer negativeAnswer);

    int_type underflow() override;
    std::streamsize xsgetn(char* to, std::streamsize count) override;
    std::streamsize xsputn(const char* from, std::streamsize count) override;
    int_type overflow(int_type c) override;
    int sync() override;

    /// Drops unread input and pending output; the input counts as open again.
    virtual void initBuffers();
    virtual void initGetBuffer();
    virtual void initPutBuffer();

    /// Writes all of n bytes. @return negative on failure; the bytes are lost then.
    virtual int buffer_to_device(const char* c, int n);

    /// Reads up to n bytes. @return the bytes read; 0 at the orderly end; negative as told to the constructor. More
    /// than n counts as a failure. An exception counts as a failure too; it passes on to the stream unless bytes
    /// that were read before it have still to be delivered.
    virtual int buffer_from_device(char* c, int n);

private:
    std::streamsize readFromDevice(char* to, std::streamsize room, bool dataBefore);
    void noteEndOfInput(int answer, int error);
    void noteFailure(int error);
    void reportFailure();
    char* getBuffer();
    bool refill(std::streamsize atMost, bool dataBefore);
    std::streamsize takeBuffered(char* to, std::streamsize count);
    bool makePutRoom(std::streamsize wanted);
    void growPutBuffer(std::streamsize wanted);
    bool flush();

    const EDirectionFlag m_direction;
    const ENegativeAnswer m_negativeAnswer;
    EInputState m_inputState;
    int m_inputError;
    const std::streamsize m_size;
    std::streamsize m_putSize;
    std::ios* m_reportTo;
    std::unique_ptr<char[]> m_getBuffer;
    std::unique_ptr<char[]> m_putBuffer;
};

} // namespace blocxx
