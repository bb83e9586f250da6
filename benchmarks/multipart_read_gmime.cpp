// usage: multipart_read_gmime FILE
// The same work as multipart_read_zol, done with GMime: FILE is a message, every part's content in a byte array.
#include <fcntl.h>
#include <gmime/gmime.h>

#include <cstdio>
#include <vector>

namespace
{

struct Sum
{
    std::vector<GByteArray*> parts;
    size_t bytes = 0;
};

void keepContent(GMimeObject*, GMimeObject* object, gpointer data)
{
    if (!GMIME_IS_PART(object))
    {
        return;
    }
    auto& sum = *static_cast<Sum*>(data);
    GMimeStream* const memory = g_mime_stream_mem_new();
    g_mime_stream_mem_set_owner(GMIME_STREAM_MEM(memory), FALSE);
    g_mime_data_wrapper_write_to_stream(g_mime_part_get_content(GMIME_PART(object)), memory);
    sum.parts.push_back(g_mime_stream_mem_get_byte_array(GMIME_STREAM_MEM(memory)));
    sum.bytes += sum.parts.back()->len;
    g_object_unref(memory);
}

} // namespace

int main(int argc, char** argv)
{
    const int descriptor = argc == 2 ? ::open(argv[1], O_RDONLY | O_CLOEXEC) : -1;
    if (descriptor < 0)
    {
        std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
        return 2;
    }
    g_mime_init();
    GMimeStream* const stream = g_mime_stream_fs_new(descriptor);
    GMimeParser* const parser = g_mime_parser_new_with_stream(stream);
    g_mime_parser_set_persist_stream(parser, TRUE);
    GMimeObject* const root = g_mime_parser_construct_part(parser, nullptr);
    Sum sum;
    if (GMIME_IS_MULTIPART(root))
    {
        g_mime_multipart_foreach(GMIME_MULTIPART(root), keepContent, &sum);
    }
    std::printf("%zu parts, %zu bytes\n", sum.parts.size(), sum.bytes);
    for (GByteArray* const part : sum.parts)
    {
        g_byte_array_free(part, TRUE);
    }
    g_object_unref(root);
    g_object_unref(parser);
    g_object_unref(stream);
    g_mime_shutdown();
}
