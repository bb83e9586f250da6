// usage: multipart_read_gmime FILE [ROUNDS]
// The same work as multipart_read_zol, done with GMime: FILE is a message, every part's content in a byte array.
#include "ReadRounds.hpp"

#include <fcntl.h>
#include <gmime/gmime.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

void keepContent(GMimeObject*, GMimeObject* object, gpointer data)
{
    if (!GMIME_IS_PART(object))
    {
        return;
    }
    GMimeStream* const memory = g_mime_stream_mem_new();
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(memory), FALSE);
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(GMIME_PART(object)), memory);
    static_cast<std::vector<GByteArray*>*>(data)->push_back(g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory)));
    g_object_unref(memory);
}

void parse(char** arguments, Sum& sum)
{
    const int descriptor = ::open(arguments[0], O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
    {
        throw std::runtime_error(std::string("cannot open ") + arguments[0]);
    }
    GMimeStream* const stream = g_mime_stream_fs_new(descriptor);
    GMimeParser* const parser = g_mime_parser_new_with_stream(stream);
    g_mime_parser_set_persist_stream(parser, TRUE);
    GMimeObject* const root = g_mime_parser_construct_part(parser, nullptr);
    std::vector<GByteArray*> parts;
    if (GMIME_IS_MULTIPART(root))
    {
        g_mime_multipart_foreach(GMIME_MULTIPART(root), keepContent, &parts);
    }
    sum.parts += parts.size();
    for (GByteArray* const part : parts)
    {
        sum.bytes += part->len;
        g_byte_array_free(part, TRUE);
    }
    g_object_unref(root);
    g_object_unref(parser);
    g_object_unref(stream);
}

} // namespace

int main(int argc, char** argv)
{
    g_mime_init();
    const int result = readRounds(argc, argv, 1, "FILE", parse);
    g_mime_shutdown();
    return result;
}
