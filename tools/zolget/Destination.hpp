#pragma once

#include "Options.hpp"
#include "Output.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace zolget
{

/// Where the parts of an answer's body go. A body that is not multipart is one part.
class Destination
{
public:
    virtual ~Destination() = default;

    /// Where the next part is to be written; valid until endPart. Throws Failure (LOCAL_FILE).
    virtual Output& beginPart() = 0;

    /// The part has been written whole. Throws Failure (LOCAL_FILE).
    virtual void endPart() = 0;

    /// All parts have been written. Throws Failure (LOCAL_FILE).
    virtual void complete() = 0;

    virtual bool isTerminal() const = 0;
};

/// All parts one behind the other, in a file or on standard output.
class OneOutput : public Destination
{
public:
    explicit OneOutput(const std::string& path) : m_output(path) {}

    Output& beginPart() override { return m_output; }
    void endPart() override {}
    void complete() override { m_output.complete(); }
    bool isTerminal() const override { return m_output.isTerminal(); }

private:
    Output m_output;
};

/// Each part in a file of its own: part-1, part-2, ... in a folder, which is made if it is not there.
class PartsFolder : public Destination
{
public:
    /// Throws Failure (LOCAL_FILE).
    explicit PartsFolder(const std::string& folder);

    Output& beginPart() override;
    void endPart() override;
    void complete() override {}
    bool isTerminal() const override { return false; }

private:
    std::string m_folder;
    std::size_t m_count = 0;
    std::optional<Output> m_part;
};

/// The destination that the options ask for. Throws Failure (LOCAL_FILE).
std::unique_ptr<Destination> makeDestination(const Options& options);

} // namespace zolget
