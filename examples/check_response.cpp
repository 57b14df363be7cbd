// Checks a captured response against its request and prints every fault with its bytes.
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "qvparsersupport/qvparsersupport.h"

int main() {
  // Header blocks with every line end but without the blank line that ends them.
  const auto request = qv::QVIPMessage::requestMessageForHeader(
      qv::bytesOf("GET /characteristics?id=1.9,1.10 HTTP/1.1\r\n"), std::nullopt);
  constexpr std::string_view kHeader =
      "HTTP/1.1 207 Multi-Status\r\nContent-Type: application/vel+json\r\n";
  constexpr std::string_view kBody =
      R"({"characteristics":[{"aid":1,"iid":9,"status":0,"value":true},{"aid":1,"iid":"10"}]})";
  const auto response =
      qv::QVIPMessage::responseMessageForRequest(request, qv::bytesOf(kHeader), qv::bytesOf(kBody));
  if (response == nullptr) return 1;  // no message class recognises it
  // `errorDescription` is the last text; `faults` are all of them, the general ones first.
  for (const qv::QVMessageFault& fault : response->faults()) {
    std::printf("%s: %s", std::string(fault.rule).c_str(), fault.text.c_str());
    if (fault.range && fault.part == qv::QVMessagePart::body) {
      const std::string_view bytes = kBody.substr(fault.range->offset, fault.range->length);
      std::printf(" (body byte %zu: %s)", fault.range->offset, std::string(bytes).c_str());
    }
    std::printf("\n");
  }
}
