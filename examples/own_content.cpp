// Posts numbers that are made while they are sent, so that their length is not known before: own_content URL COUNT
#include "zol/http.hpp"

#include <iostream>
#include <stdexcept>
#include <string>

using namespace ZOLNS2;

/// The numbers from 1 on, a line each.
class Numbers : public MIME::Content
{
public:
    explicit Numbers(unsigned long count) : m_count(count) {}

    MIME::ContentTypeHeader getContentType() override { return {"text", "plain", {}}; }
    bool hasContentLength() override { return false; }
    std::size_t getContentLength() override { throw std::logic_error("it is not known"); }
    MIME::ContentStreamStateRef createInitialStreamState() const override { return new Position; }

    std::size_t getData(char* buffer, std::size_t size, const MIME::ContentStreamStateRef& state) override
    {
        Position& position = dynamic_cast<Position&>(*state);
        if (position.line.empty() && position.number < m_count)
            position.line = std::to_string(++position.number) + '\n';
        if (position.line.empty())
            return MIME::END_OF_DATA;
        const std::size_t copied = position.line.copy(buffer, size);
        position.line.erase(0, copied);
        return copied;
    }

private:
    struct Position : MIME::ContentStreamState // of one reader; the content itself has none
    {
        unsigned long number = 0;
        std::string line; // what is still to be delivered
    };

    unsigned long m_count;
};

int main(int argc, char** argv)
try
{
    if (argc != 3)
        throw std::invalid_argument("usage: own_content URL COUNT");
    const MIME::ContentRef numbers(new Numbers(std::stoul(argv[2])));
    const HTTP::Request request = HTTP::RequestBuilder("POST", HTTP::Url(argv[1])).content(numbers).build();
    const HTTP::ExchangeResponse response = HTTP::exchange(request);
    response.writeTo(std::cout);
    return response.isSuccess() && std::cout.flush() ? 0 : 1;
}
catch (const std::exception& error)
{
    std::cerr << "own_content: " << error.what() << '\n';
    return 1;
}
