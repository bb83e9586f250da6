// Fetches a URL into a file and shows the progress; the file gets its name when it is whole: fetch_to_file URL FILE
#include "zol/http.hpp"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>
#include <vector>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: fetch_to_file URL FILE\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    if (!response.isSuccess())
        throw std::runtime_error(response.getStatusLine().toString().c_str());

    const MIME::ContentRef body = response.getContent();
    const std::string total = body->hasContentLength() ? " of " + std::to_string(body->getContentLength()) : "";
    const std::string unfinished = argv[2] + std::string(".part");
    std::ofstream file(unfinished, std::ios::binary);
    const MIME::ContentStreamStateRef state = body->createInitialStreamState();
    std::vector<char> block(65536);
    std::size_t written = 0;
    for (std::size_t count = 0; file && count != MIME::END_OF_DATA;)
    {
        file.write(block.data(), static_cast<std::streamsize>(count));
        written += count;
        std::cerr << '\r' << written << total << " bytes";
        count = body->getData(block.data(), block.size(), state); // 0 is not the end
    }
    std::cerr << '\n';
    if (!file.flush())
        throw std::runtime_error("cannot write " + unfinished);
    if (response.bodyEnd() != HTTP::ExchangeResponse::E_COMPLETE)
        throw std::runtime_error(response.bodyEndText().c_str());
    std::filesystem::rename(unfinished, argv[2]);
    return 0;
}
catch (const std::exception& error)
{
    std::cerr << "fetch_to_file: " << error.what() << '\n';
    return 1;
}
