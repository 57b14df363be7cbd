// The messages of an ordinary day of a connection, one by one from header and body bytes to a
// verdict: ours beside Boost.Beast's parsers and RapidJSON with its schema validator.
#include <benchmark/benchmark.h>

#include <boost/asio/buffer.hpp>
#include <boost/beast/http.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "benchmarks/support/database_generator.h"
#include "benchmarks/support/json_schemas.h"
#include "benchmarks/support/loaded_profile.h"
#include "benchmarks/support/rapidjson_peer.h"
#include "benchmarks/support/require.h"
#include "benchmarks/support/traffic_generator.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/ipmessages/ip_message.h"

namespace {

namespace http = boost::beast::http;
using qv::QVIPMessage;
using qv::bench::Exchange;
using qv::bench::HTTPText;
using qv::bench::RapidJSONPeer;
using qv::bench::require;

constexpr std::size_t kExchanges = 200;
constexpr std::size_t kDatabaseBytes = 10'000;

// ------------------------------------------------------------------------------------------ ours

std::optional<qv::ByteView> payload(const HTTPText& text) {
  if (text.body.empty()) return std::nullopt;
  return qv::bytesOf(text.body);
}

bool soundForUs(const Exchange& exchange) {
  std::shared_ptr<QVIPMessage> request;
  if (!exchange.isEvent()) {
    request = QVIPMessage::requestMessageForHeader(qv::bytesOf(exchange.request.header),
                                                   payload(exchange.request));
    if (!request || request->errorDescription()) return false;
  }
  const auto response = QVIPMessage::responseMessageForRequest(
      request, qv::bytesOf(exchange.response.header), payload(exchange.response));
  return response && !response->errorDescription();
}

// -------------------------------------------------------------------------------------- the peer

enum class Kind { database, read, write, prepare, unknown };

// What the peer is handed: whole messages in one buffer each. Beast knows no "EVENT/1.0", so the
// start line of an event is changed for it beforehand.
struct WholeExchange {
  std::string request;
  std::string response;
};

WholeExchange whole(const Exchange& exchange) {
  std::string response = exchange.response.header + "\r\n" + exchange.response.body;
  if (exchange.isEvent()) {
    const std::string_view version = "EVENT/1.0";
    require(response.starts_with(version), response);
    return {{}, "HTTP/1.1" + response.substr(version.size())};
  }
  return {exchange.request.header + "\r\n" + exchange.request.body, response};
}

class Peer {
 public:
  bool isSound(const WholeExchange& exchange) {
    if (exchange.request.empty()) return eventIsSound(exchange.response);
    const Kind kind = soundRequest(exchange.request);
    return kind != Kind::unknown && responseIsSound(exchange.response, kind);
  }

 private:
  static constexpr std::string_view kContentType = "application/vel+json";

  template <class Parser>
  static bool parse(Parser& parser, const std::string& text) {
    parser.eager(true);
    boost::beast::error_code error;
    parser.put(boost::asio::buffer(text), error);
    return !error && parser.is_done();
  }

  template <class Message>
  static bool bodyIsSound(const Message& message, RapidJSONPeer& schema) {
    return message[http::field::content_type] == kContentType && schema.accepts(message.body());
  }

  Kind soundRequest(const std::string& text) {
    http::request_parser<http::string_body> parser;
    if (!parse(parser, text)) return Kind::unknown;
    const auto& message = parser.get();
    const auto target = message.target();
    if (message.method() == http::verb::get) {
      if (target == "/accessories") return Kind::database;
      return target.starts_with("/characteristics?id=") ? Kind::read : Kind::unknown;
    }
    if (message.method() != http::verb::put) return Kind::unknown;
    if (target == "/characteristics" && bodyIsSound(message, write_)) return Kind::write;
    if (target == "/prepare" && bodyIsSound(message, object_)) return Kind::prepare;
    return Kind::unknown;
  }

  bool responseIsSound(const std::string& text, Kind kind) {
    http::response_parser<http::string_body> parser;
    if (!parse(parser, text)) return false;
    const auto& message = parser.get();
    switch (message.result_int()) {
      case 204:
        return message.body().empty();
      case 207:
        return bodyIsSound(message, readWithStatus_);
      case 200:
        break;
      default:
        return false;
    }
    if (kind == Kind::database) return bodyIsSound(message, database_);
    return bodyIsSound(message, kind == Kind::read ? read_ : object_);
  }

  bool eventIsSound(const std::string& text) {
    http::response_parser<http::string_body> parser;
    return parse(parser, text) && parser.get().result_int() == 200 &&
           bodyIsSound(parser.get(), read_);
  }

  RapidJSONPeer database_{qv::bench::databaseSchema()};
  RapidJSONPeer read_{qv::bench::readSchema()};
  RapidJSONPeer readWithStatus_{qv::bench::readWithStatusSchema()};
  RapidJSONPeer write_{qv::bench::writeSchema()};
  RapidJSONPeer object_{qv::bench::objectSchema()};
};

// ------------------------------------------------------------------------------------- the work

std::vector<Exchange> day() {
  return qv::bench::ordinaryDay(kExchanges, qv::bench::attributeDatabase(kDatabaseBytes));
}

// Replaces the text in the header or body of a message; both sides must refuse what comes out.
struct PlantedFault {
  std::string_view of;
  std::string_view with;
};
constexpr PlantedFault kFaults[] = {
    {"application/vel+json", "application/json"},
    {"HTTP/1.1 200", "HTTP/1.1 201"},
    {"HTTP/1.1 204", "HTTP/1.1 208"},
    {"\"iid\":", "\"idd\":"},
    {"\"status\":-", "\"stands\":-"},
    {"{\"ttl\"", "[\"ttl\""},
};

bool plant(HTTPText& text, const PlantedFault& fault) {
  for (std::string* part : {&text.header, &text.body}) {
    const std::size_t place = part->find(fault.of);
    if (place == std::string::npos) continue;
    part->replace(place, fault.of.size(), fault.with);
    return true;
  }
  return false;
}

template <class Accepts>
void checkFaults(const Accepts& accepts) {
  for (const PlantedFault& fault : kFaults) {
    bool planted = false;
    for (Exchange exchange : day()) {
      require(accepts(exchange), exchange.response.header);
      if (!plant(exchange.request, fault) && !plant(exchange.response, fault)) continue;
      planted = true;
      require(!accepts(exchange), exchange.request.header + exchange.response.header);
    }
    require(planted, fault.of);
  }
}

void countMessages(benchmark::State& state, const std::vector<Exchange>& exchanges) {
  std::int64_t messages = 0;
  for (const Exchange& exchange : exchanges) messages += exchange.isEvent() ? 1 : 2;
  state.SetItemsProcessed(state.iterations() * messages);
}

void ours(benchmark::State& state) {
  checkFaults(soundForUs);
  const auto exchanges = day();
  for (auto _ : state) {
    for (const Exchange& exchange : exchanges) {
      require(soundForUs(exchange), "a message of the day is accepted");
    }
  }
  countMessages(state, exchanges);
}

void beastAndRapidJSON(benchmark::State& state) {
  Peer peer;
  checkFaults([&](const Exchange& exchange) { return peer.isSound(whole(exchange)); });
  const auto exchanges = day();
  std::vector<WholeExchange> wholeExchanges;
  for (const Exchange& exchange : exchanges) wholeExchanges.push_back(whole(exchange));
  for (auto _ : state) {
    for (const WholeExchange& exchange : wholeExchanges) {
      require(peer.isSound(exchange), "a message of the day is accepted");
    }
  }
  countMessages(state, exchanges);
}

BENCHMARK(ours)->Name("mixed_connection/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(beastAndRapidJSON)
    ->Name("mixed_connection/beast_rapidjson_schema")
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  qv::bench::loadGeneratedProfile(qv::bench::kDatabaseCharacteristics);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
