#pragma once

#include "Destination.hpp"
#include "OpenDescriptor.hpp"
#include "Output.hpp"

#include <cstddef>
#include <optional>
#include <string>

namespace zolget
{

/// Each part in a file of its own: part-001.txt, part-002.bin, ... in a folder, which is created if it does not
/// exist. No symbolic link in it is followed. A table of the parts goes to standard output, a line for each complete
/// part.
class PartsFolder : public Destination
{
public:
    static constexpr std::size_t MOST_PARTS = 1000;

    /// Throws Failure (LOCAL_FILE).
    explicit PartsFolder(const std::string& path);
    ~PartsFolder() override;

    std::size_t mostParts() const override { return MOST_PARTS; }
    void beginPart(const ZOLNS2::MIME::ContentTypeHeader& type) override;
    void write(std::string_view bytes) override;
    void endPart(std::uint64_t length) override;
    void complete() override {}
    bool hasDelivered() const override { return m_hasCompletePart; }

private:
    std::string m_path;
    OpenDescriptor m_folder;
    std::size_t m_count = 0;
    bool m_hasCompletePart = false;
    std::string m_type;
    std::optional<Output> m_part;
};

} // namespace zolget
