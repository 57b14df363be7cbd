// The main road of a check over both streams of a connection with pairing exchanges: cutting them
// into messages and pairing those, and the same with each message recognised and its body decoded
// and checked. Bytes are those of both streams.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "capture/http/stream_pair_reader.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace {

using namespace qv;
using namespace qv::capture;

constexpr std::uint64_t kExchanges = 4000;

constexpr std::string_view kProfile = R"(<profile>
  <enums>
    <enum name="State" format="uint8"><values>
      <value value="1" symbol="First"/><value value="2" symbol="Second"/>
    </values></enum>
  </enums>
  <tlv8s>
    <tlv8 name="Pairing"><fields>
      <field type="0x01" name="State" format="uint8" enum="State"/>
      <field type="0x07" name="Public Key" format="data" maximumLength="255"/>
      <field type="0x09" name="Encrypted Data" format="data" maximumLength="255"/>
    </fields></tlv8>
  </tlv8s>
  <characteristics></characteristics>
  <services></services>
</profile>)";

void require(bool condition) {
  if (!condition) std::abort();
}

std::string field(char type, const std::string& value) {
  return std::string{type, static_cast<char>(value.size())} + value;
}

std::string messageText(const std::string& startLine, const std::string& body) {
  return startLine +
         "\r\nHost: lamp-7f3a.local:51826\r\nContent-Type: application/pairing+tlv8\r\n"
         "Content-Length: " +
         std::to_string(body.size()) + "\r\n\r\n" + body;
}

struct Streams {
  std::string requests;
  std::string responses;
  Streams() {
    const std::string request = messageText("POST /pair-verify HTTP/1.1",
                                            field(1, "\x01") + field(7, std::string(32, 'k')));
    const std::string response =
        messageText("HTTP/1.1 200 OK", field(1, "\x02") + field(7, std::string(32, 'k')) +
                                           field(9, std::string(120, 'e')));
    for (std::uint64_t i = 0; i < kExchanges; ++i) {
      requests += request;
      responses += response;
    }
  }
  std::size_t size() const { return requests.size() + responses.size(); }
};

const Streams& streams() {
  static const Streams kStreams;
  return kStreams;
}

// Reads memory that somebody else owns, so that the copy of a stream is not measured.
class ViewSource : public ByteSource {
 public:
  explicit ViewSource(std::string_view text) : rest_(bytesOf(text)) {}
  std::size_t read(std::span<std::uint8_t> destination) override {
    const std::size_t count = std::min(destination.size(), rest_.size());
    std::copy_n(rest_.begin(), count, destination.begin());
    rest_ = rest_.subspan(count);
    return count;
  }

 private:
  ByteView rest_;
};

std::shared_ptr<ByteStreamItems> itemsOf(std::string_view text, Direction direction) {
  return std::make_shared<ByteStreamItems>(std::make_shared<ViewSource>(text), direction);
}

StreamPairReader pairing() {
  return {itemsOf(streams().requests, Direction::toAccessory),
          itemsOf(streams().responses, Direction::toController)};
}

void report(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(streams().size()));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(kExchanges));
}

void framing(benchmark::State& state) {
  for (auto _ : state) {
    StreamPairReader exchanges = pairing();
    std::uint64_t answered = 0;
    while (const auto record = exchanges.nextRecord()) answered += record->answers.has_value();
    require(answered == kExchanges);
  }
  report(state);
}

void checkPayload(const std::shared_ptr<QVIPMessage>& message) {
  auto pairingMessage = std::dynamic_pointer_cast<QVIPTLV8PayloadMessage>(message);
  require(pairingMessage != nullptr && pairingMessage->tlv8Payload() != nullptr);
  require(!pairingMessage->errorDescription());
}

void framingAndChecking(benchmark::State& state) {
  const std::shared_ptr<const XMLDocument> documents[] = {
      parseXML(bytesOf(kProfile), "profile").document};
  require(QVSymbolTable::sharedSymbolTable().loadDocuments(documents));
  for (auto _ : state) {
    StreamPairReader exchanges = pairing();
    std::shared_ptr<QVIPMessage> request;
    std::uint64_t answered = 0;
    while (const auto record = exchanges.nextRecord()) {
      const FramedMessage* message = record->message();
      require(message != nullptr && message->complete());
      if (record->requestIndex) {
        request = QVIPMessage::requestMessageForHeader(message->header, message->body);
        checkPayload(request);
      } else {
        checkPayload(
            QVIPMessage::responseMessageForRequest(request, message->header, message->body));
        ++answered;
      }
    }
    require(answered == kExchanges);
  }
  report(state);
}

BENCHMARK(framing)->Unit(benchmark::kMillisecond);
BENCHMARK(framingAndChecking)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
