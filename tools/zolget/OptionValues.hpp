#pragma once

#include <string>

namespace zolget
{

/// A header given by the user.
struct HeaderOption
{
    std::string name;
    std::string value;
};

/// A user name and a password.
struct CredentialsOption
{
    std::string user;
    std::string password;
};

/// A field of a form to send.
struct FormFieldOption
{
    std::string name;
    std::string value;
    bool isFile = false; ///< whether the value is the path of a file or the text itself
};

/// A part of a multipart body to send.
struct PartOption
{
    std::string type; ///< media type and subtype
    std::string value;
    bool isFile = false; ///< whether the value is the path of a file or the text itself
};

/// Each reads the argument of an option, and throws Failure (USAGE) if it has another form.
/// @{
HeaderOption parseHeader(const std::string& text);
CredentialsOption parseCredentials(const std::string& text);
FormFieldOption parseFormField(const std::string& text);
PartOption parsePart(const std::string& text, bool isFile);
/// @}

/// Throws Failure (USAGE) with the message and a hint at the help.
[[noreturn]] void refuseUsage(const std::string& message);

} // namespace zolget
