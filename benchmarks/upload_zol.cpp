// usage: upload_zol PORT SIZE COUNT [FILE]
// COUNT times, over a connection each: sends SIZE bytes that are held in memory, or all of a file, and reads the
// response.
#include "PeakMemory.hpp"

#include "zol/http.hpp"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using namespace ZOLNS2;

int main(int argc, char** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf(stderr, "usage: %s PORT SIZE COUNT [FILE]\n", argv[0]);
        return 2;
    }
    const auto size = static_cast<size_t>(std::atoll(argv[2]));
    MIME::ContentRef content;
    if (argc == 5)
    {
        content = new MIME::FileApplicationOctetStreamContent(blocxx::String(argv[4]));
    }
    else
    {
        const std::vector<char> bytes(size, 'x');
        content = new MIME::ApplicationOctetStreamContent(bytes.data(), bytes.size());
    }
    HTTP::Headers headers;
    headers.addHeader("Host", "127.0.0.1");
    headers.addHeader("Connection", "close");
    headers.addHeader("Content-Length", std::to_string(size).c_str());
    const HTTP::Request request(
        HTTP::RequestLine("POST", "/small", blocxx::String("127.0.0.1:") + argv[1], HTTP::HTTP_1_1), headers, content,
        blocxx::SSLClientCtxRef());
    try
    {
        size_t received = 0;
        for (long upload = std::atol(argv[3]); upload > 0; --upload)
        {
            HTTP::Response response = HTTP::getPage(request, blocxx::Timeout::relative(10));
            received += getContentData(response.getNextPart(), 1000).size();
        }
        std::printf("%zu bytes received, peak %ld KiB\n", received, peakMemory());
    }
    catch (const blocxx::Exception& failure)
    {
        std::fprintf(stderr, "upload_zol: %s\n", failure.getMessage());
        return 1;
    }
}
