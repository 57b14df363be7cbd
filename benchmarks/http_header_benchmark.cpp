// Header blocks to an owned, ordered list of fields: ours beside Boost.Beast's parser, which reads
// the same bytes and the blank line after them.
#include <benchmark/benchmark.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http.hpp>
#include <cstdlib>
#include <string>

#include "qvparsersupport/ipmessages/http_message.h"

namespace {

namespace http = boost::beast::http;

const std::string kRequest =
    "GET /characteristics?id=1.9,1.10,2.9 HTTP/1.1\r\n"
    "Host: lamp-7f3a.local:51826\r\n"
    "User-Agent: controller/12.4 (bench)\r\n"
    "Accept: application/vel+json\r\n"
    "Connection: keep-alive\r\n";
const std::string kResponse =
    "HTTP/1.1 207 Multi-Status\r\n"
    "Content-Type: application/vel+json\r\n"
    "Date: Tue, 04 Mar 2025 10:11:12 GMT\r\n"
    "Connection: keep-alive\r\n"
    "Content-Length: 213\r\n";

constexpr std::size_t kFields = 4;

void require(bool condition) {
  if (!condition) std::abort();
}

void parseHeader(benchmark::State& state, const std::string& header) {
  for (auto _ : state) {
    auto fields = qv::QVHTTPMessage::_parseHTTPHeader(qv::bytesOf(header));
    require(fields && fields->size() == kFields);
    benchmark::DoNotOptimize(fields);
  }
}

void wholeMessage(benchmark::State& state, const std::string& header) {
  for (auto _ : state) {
    auto message = qv::QVHTTPMessage::initWithHeader(qv::bytesOf(header), std::nullopt);
    require(message->headerFields()->size() == kFields);
    benchmark::DoNotOptimize(message);
  }
}

template <class Parser>
void beast(benchmark::State& state, const std::string& header) {
  const std::string block = header + "\r\n";
  for (auto _ : state) {
    Parser parser;
    parser.skip(true);
    boost::beast::error_code error;
    parser.put(boost::asio::buffer(block), error);
    require(!error && parser.is_header_done());
    benchmark::DoNotOptimize(parser);
  }
}

void beastRequest(benchmark::State& state, const std::string& header) {
  beast<http::request_parser<http::empty_body>>(state, header);
}

void beastResponse(benchmark::State& state, const std::string& header) {
  beast<http::response_parser<http::empty_body>>(state, header);
}

BENCHMARK_CAPTURE(parseHeader, request, kRequest);
BENCHMARK_CAPTURE(wholeMessage, request, kRequest);
BENCHMARK_CAPTURE(beastRequest, request, kRequest);
BENCHMARK_CAPTURE(parseHeader, response, kResponse);
BENCHMARK_CAPTURE(wholeMessage, response, kResponse);
BENCHMARK_CAPTURE(beastResponse, response, kResponse);

}  // namespace

BENCHMARK_MAIN();
