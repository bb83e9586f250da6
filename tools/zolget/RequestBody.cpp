#include "RequestBody.hpp"

#include "Failure.hpp"
#include "JoinedContent.hpp"
#include "StandardInputContent.hpp"

#include "zol/mime/ContentException.hpp"
#include "zol/mime/FileContent.hpp"
#include "zol/mime/MultipartContent.hpp"
#include "zol/mime/TextContent.hpp"
#include "zol/mime/TypedContent.hpp"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>

namespace zolget
{

namespace mime = ZOLNS2::MIME;
using MultipartRef = blocxx::IntrusiveReference<mime::MultipartContent>;

namespace
{

[[noreturn]] void failToSend(const std::string& file, const std::string& reason)
{
    throw Failure(ExitStatus::LOCAL_FILE, "cannot send " + file + ": " + reason);
}

mime::ContentRef makeText(const std::string& text)
{
    return mime::ContentRef(new mime::TextPlainContent(blocxx::String(text.data(), text.size())));
}

mime::ContentRef openFile(const std::string& path)
{
    try
    {
        mime::ContentRef file(new mime::FileContent(path));
        if (!file->hasContentLength())
        {
            failToSend(path, "its length is not known in advance; send it with --data-file - instead");
        }
        return file;
    }
    catch (const mime::ContentException& error)
    {
        failToSend(path, error.getErrorCode() > 0 ? std::strerror(error.getErrorCode())
                                                  : "it is not a regular file; copy it into a regular file first");
    }
}

mime::ContentRef makeFiles(const std::vector<std::string>& paths, const Deadline& deadline)
{
    std::vector<mime::ContentRef> files;
    std::transform(paths.begin(), paths.end(), std::back_inserter(files),
                   [&deadline](const std::string& path)
                   { return path == "-" ? mime::ContentRef(new StandardInputContent(deadline)) : openFile(path); });
    if (files.size() == 1)
    {
        return files.front();
    }
    return mime::ContentRef(new JoinedContent(std::move(files)));
}

mime::ContentRef makeForm(const std::vector<FormFieldOption>& fields)
{
    const MultipartRef form(new mime::MultipartContent("form-data"));
    for (const FormFieldOption& field : fields)
    {
        if (field.isFile)
        {
            form->addFile(field.name, openFile(field.value), std::filesystem::path(field.value).filename().string());
        }
        else
        {
            form->addField(field.name, blocxx::String(field.value.data(), field.value.size()));
        }
    }
    return form;
}

mime::ContentRef makeParts(const std::vector<PartOption>& parts)
{
    const MultipartRef content(new mime::MultipartContent("mixed"));
    for (const PartOption& part : parts)
    {
        const mime::ContentRef bytes = part.isFile ? openFile(part.value) : makeText(part.value);
        content->addPart(mime::ContentRef(new mime::TypedContent(bytes, part.type)));
    }
    return content;
}

} // namespace

mime::ContentRef makeRequestBody(const Options& options, const Deadline& deadline)
{
    try
    {
        if (options.data.has_value())
        {
            const mime::ContentRef text = makeText(*options.data);
            // Where the user gave a type, that of the text itself says nothing.
            return options.hasHeader("Content-Type")
                       ? mime::ContentRef(new mime::TypedContent(text, "application/octet-stream"))
                       : text;
        }
        if (!options.dataFiles.empty())
        {
            return makeFiles(options.dataFiles, deadline);
        }
        if (!options.fields.empty())
        {
            return makeForm(options.fields);
        }
        return options.parts.empty() ? mime::ContentRef() : makeParts(options.parts);
    }
    catch (const mime::ContentException& error)
    {
        refuseUsage(error.getMessage());
    }
}

} // namespace zolget
