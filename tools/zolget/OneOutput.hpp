#pragma once

#include "Destination.hpp"
#include "Output.hpp"

#include <string>

namespace zolget
{

/// All parts one after the other, in a file or on standard output.
class OneOutput : public Destination
{
public:
    /// @param path       empty for standard output
    /// @param takesParts whether a multipart body is to be taken apart
    explicit OneOutput(const std::string& path, bool takesParts = true);
    ~OneOutput() override;

    std::size_t mostParts() const override;
    void beginPart(const ZOLNS2::MIME::ContentTypeHeader& /*type*/) override {}
    void write(std::string_view bytes) override;
    void endPart(std::uint64_t /*length*/) override {}
    void complete() override { m_output.complete(); }
    bool isTerminal() const override { return m_output.isTerminal(); }
    bool hasDelivered() const override { return m_hasWritten && m_output.isDirect(); }

private:
    Output m_output;
    bool m_takesParts;
    bool m_hasWritten = false;
};

} // namespace zolget
