// Posts a text in JSON and shows what comes back, which has to be JSON as well: post_json URL JSON
#include "zol/http.hpp"

#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc != 3)
    {
        std::cerr << "usage: post_json URL JSON\n";
        return 2;
    }
    const MIME::ContentRef json(new MIME::TypedContent(argv[2], "application/json"));
    const HTTP::Request request =
        HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).header("Accept", "application/json").content(json).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    const MIME::ContentTypeHeader& type = response.getContentType();
    if (!type.getType().equalsIgnoreCase("application") || !type.getSubType().equalsIgnoreCase("json"))
        throw std::runtime_error((response.getStatusLine().toString() + ", not in JSON").c_str());

    const blocxx::Array<char> body = response.readAll();
    std::cout.write(body.empty() ? "" : &body[0], static_cast<std::streamsize>(body.size()));
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "post_json: " << error.what() << '\n';
    return 1;
}
