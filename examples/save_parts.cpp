// Writes each part of a multipart body, however large, into a file as it arrives: save_parts URL FOLDER
#include "zol/http.hpp"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: save_parts URL FOLDER\n";
        return 2;
    }
    const HTTP::ExchangeResponse response = HTTP::exchange(HTTP::RequestBuilder("GET", HTTP::Url(argv[1])).build());
    if (!response.isSuccess())
        throw std::runtime_error(response.getStatusLine().toString().c_str());

    std::filesystem::create_directories(argv[2]);
    int number = 0;
    MIME::MultipartReader reader(response.getContent());
    while (const auto part = reader.next())
    {
        // A name of ours: one that the server gives could lead out of the folder.
        const std::filesystem::path name = std::filesystem::path(argv[2]) / ("part-" + std::to_string(++number));
        std::ofstream file(name, std::ios::binary);
        part->writeTo(file);
        if (!file.flush())
            throw std::runtime_error("cannot write " + name.string());
        std::cout << name.string() << ": " << part->getContentType() << '\n';
    }
    return 0;
}
catch (const std::exception& error)
{
    std::cerr << "save_parts: " << error.what() << '\n';
    return 1;
}
