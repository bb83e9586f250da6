#pragma once

#include "Destination.hpp"
#include "FilePlace.hpp"
#include "OpenDescriptor.hpp"

#include <string>

namespace zolget
{

/// A file that is written to directly, so that what a cut download brought stays, and that continues where an earlier run
/// ended. The validator of what it holds is kept in an extended attribute of it.
///
/// Nothing in it changes before the head of a response has come that brings more of it, or all of it anew.
class ContinuedFile : public Destination
{
public:
    /// The attribute with the validator.
    static constexpr const char* ATTRIBUTE = "user.zolget.validator";

    /// Throws Failure (LOCAL_FILE), also for anything but a regular file.
    explicit ContinuedFile(const std::string& path);
    ~ContinuedFile() override;

    void prepare(ZOLNS2::HTTP::RequestBuilder& request) const override;
    bool accept(const ZOLNS2::HTTP::ExchangeResponse& response) override;
    std::size_t mostParts() const override { return 0; }
    void beginPart(const ZOLNS2::MIME::ContentTypeHeader& type) override;
    void write(std::string_view bytes) override;
    void endPart(std::uint64_t length) override;
    void complete() override;
    bool hasDelivered() const override { return false; }
    const char* keptText() const override;

private:
    bool asksForRest() const { return m_size > 0 && !m_validator.empty(); }
    void checkRange(const ZOLNS2::HTTP::ExchangeResponse& response);
    void beginAnew();
    void readValidator();

    FilePlace m_place;
    OpenDescriptor m_file;
    std::uint64_t m_size = 0;
    std::string m_validator;         ///< of what the file holds
    std::string m_receivedValidator; ///< of the response
    bool m_continues = false;        ///< whether the response brings the rest
    std::uint64_t m_expected = 0;    ///< then: the bytes of the rest
    std::uint64_t m_written = 0;
};

} // namespace zolget
