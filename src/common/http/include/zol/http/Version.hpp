#pragma once

namespace ZOLNS2::HTTP
{

/// The protocol version of a message (RFC 9112, section 2.3).
enum Version : unsigned int
{
    HTTP_1_0 = 0,
    HTTP_1_1 = 1
};

/// The version as the first line of a message shows it. Deliberate: whatever is not `HTTP_1_0` reads as HTTP/1.1.
constexpr const char* versionText(Version version)
{
    return version == HTTP_1_0 ? "HTTP/1.0" : "HTTP/1.1";
}

} // namespace ZOLNS2::HTTP
