// Posts a form as browsers do (multipart/form-data) and shows what comes back: post_form URL NAME=VALUE|NAME=@FILE...
#include "zol/http.hpp"

#include <iostream>
#include <stdexcept>

int main(int argc, char** argv)
try
{
    using namespace ZOLNS2;
    if (argc < 3)
    {
        std::cerr << "usage: post_form URL NAME=VALUE|NAME=@FILE...\n";
        return 2;
    }
    const blocxx::IntrusiveReference<MIME::MultipartContent> form(new MIME::MultipartContent("form-data"));
    for (int i = 2; i < argc; ++i)
    {
        const blocxx::String field(argv[i]);
        const std::size_t equals = field.indexOf('=');
        if (equals == blocxx::String::npos)
            throw std::invalid_argument(argv[i] + std::string(" is not NAME=VALUE"));
        const blocxx::String name = field.substring(0, equals);
        if (field.charAt(equals + 1) == '@')
            form->addFile(name, field.substring(equals + 2));
        else
            form->addField(name, field.substring(equals + 1));
    }
    const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).content(form).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "post_form: " << error.what() << '\n';
    return 1;
}
