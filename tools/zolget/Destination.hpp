#pragma once

#include "Options.hpp"
#include "Output.hpp"

#include "zol/mime/ContentTypeHeader.hpp"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace zolget
{

/// Where the parts of a response's body go. A body that is not multipart counts as one part.
class Destination
{
public:
    virtual ~Destination() = default;

    /// The output for the next part, which has this type; valid until endPart. Throws Failure (LOCAL_FILE).
    virtual Output& beginPart(const ZOLNS2::MIME::ContentTypeHeader& type) = 0;

    /// The part is complete; it has `length` bytes. Throws Failure (LOCAL_FILE).
    virtual void endPart(std::uint64_t length) = 0;

    /// The body is complete. Throws Failure (LOCAL_FILE).
    virtual void complete() = 0;

    virtual bool isTerminal() const = 0;
};

/// All parts one after the other, in a file or on standard output.
class OneOutput : public Destination
{
public:
    explicit OneOutput(const std::string& path) : m_output(path) {}

    Output& beginPart(const ZOLNS2::MIME::ContentTypeHeader&) override { return m_output; }
    void endPart(std::uint64_t) override {}
    void complete() override { m_output.complete(); }
    bool isTerminal() const override { return m_output.isTerminal(); }

private:
    Output m_output;
};

/// Each part in a file of its own: part-001.txt, part-002.bin, ... in a folder, which is created if it does not
/// exist. A table of the parts goes to standard output, a line for each complete part.
class PartsFolder : public Destination
{
public:
    /// Throws Failure (LOCAL_FILE).
    explicit PartsFolder(const std::string& folder);

    Output& beginPart(const ZOLNS2::MIME::ContentTypeHeader& type) override;
    void endPart(std::uint64_t length) override;
    void complete() override {}
    bool isTerminal() const override { return false; }

private:
    std::string m_folder;
    std::size_t m_count = 0;
    std::string m_type;
    std::optional<Output> m_part;
    Output m_table{""};
};

/// The destination that the options ask for. Throws Failure (LOCAL_FILE).
std::unique_ptr<Destination> makeDestination(const Options& options);

} // namespace zolget
