// What single operations cost, by Google Benchmark: the pieces that every fetch passes through.
#include "openwbem/OW_HTTPUtils.hpp"
#include "zol/http.hpp"

#include <benchmark/benchmark.h>

#include <sstream>

using namespace ZOLNS2;

namespace
{

void parseHead(benchmark::State& state)
{
    std::string head = "HTTP/1.1 200 OK\r\n";
    for (int64_t line = 0; line < state.range(0); ++line)
    {
        head += "X-Line-" + std::to_string(line) + ": the value of the line\r\n";
    }
    head += "\r\n";
    for ([[maybe_unused]] auto _ : state)
    {
        std::istringstream input(head);
        OpenWBEM::HTTPHeaderMap map;
        blocxx::Array<blocxx::String> words;
        benchmark::DoNotOptimize(OpenWBEM::HTTPUtils::parseHeader(map, words, input));
    }
}
BENCHMARK(parseHead)->Arg(5)->Arg(50)->Arg(500);

void parseContentType(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
    {
        MIME::ContentTypeHeader header;
        header.setContentTypeString("Content-Type: multipart/mixed; boundary=\"a boundary\"; charset=UTF-8");
        benchmark::DoNotOptimize(header);
    }
}
BENCHMARK(parseContentType);

void readText(benchmark::State& state)
{
    const MIME::ContentRef content =
        new MIME::TextPlainContent(blocxx::String(std::string(static_cast<size_t>(state.range(0)), 'x')));
    char buffer[4096];
    for ([[maybe_unused]] auto _ : state)
    {
        const MIME::ContentStreamStateRef cursor = content->createInitialStreamState();
        while (content->getData(buffer, sizeof buffer, cursor) != static_cast<size_t>(-1))
        {
        }
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}
BENCHMARK(readText)->Arg(100)->Arg(1 << 20);

void writeRequest(benchmark::State& state)
{
    HTTP::Headers headers;
    headers.addHeader("Host", "localhost");
    headers.addHeader("Accept", "*/*");
    const HTTP::Request request(HTTP::RequestLine("GET", "/", "localhost", HTTP::HTTP_1_1), headers,
                                blocxx::SSLClientCtxRef());
    std::ostringstream output;
    for ([[maybe_unused]] auto _ : state)
    {
        output.str(std::string());
        output << request;
    }
}
BENCHMARK(writeRequest);

} // namespace

BENCHMARK_MAIN();
