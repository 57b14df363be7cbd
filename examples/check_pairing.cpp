// Checks one captured pair-setup request against a small profile and prints what is wrong with it.
#include <cstdio>
#include <memory>
#include <string_view>
#include <vector>

#include "qvparsersupport/qvparsersupport.h"

constexpr std::string_view kProfile = R"(<profile>
  <enums>
    <enum name="State" format="uint8">
      <values><value value="1" symbol="Start"/><value value="2" symbol="Answer"/></values>
    </enum>
  </enums>
  <tlv8s>
    <tlv8 name="Pairing">
      <fields><field type="0x06" name="State" format="uint8" enum="State"/></fields>
    </tlv8>
  </tlv8s>
  <characteristics/>
  <services/>
</profile>)";

int main() {
  const qv::XMLParseResult profile = qv::parseXML(qv::bytesOf(kProfile), "state.xml");
  if (profile.document == nullptr) {
    std::printf("no XML: %s\n", profile.error.c_str());
    return 1;
  }
  const std::vector documents = {profile.document};
  std::optional<std::string> error;
  if (!qv::QVSymbolTable::sharedSymbolTable().loadDocuments(documents, &error)) {
    std::printf("profile refused: %s\n", error->c_str());
    return 1;
  }

  // The header block with every line end but without the blank line, and the body.
  constexpr std::string_view kHeader =
      "POST /pair-setup HTTP/1.1\r\nContent-Type: application/pairing+tlv8\r\n";
  constexpr std::uint8_t kBody[] = {0x06, 0x01, 0x09};
  const auto message = qv::QVIPMessage::requestMessageForHeader(qv::bytesOf(kHeader), kBody);
  if (auto pairing = std::dynamic_pointer_cast<qv::QVIPTLV8PayloadMessage>(message)) {
    pairing->tlv8Payload();  // pairing bodies are decoded when they are asked for
    for (const qv::QVMessageFault& fault : pairing->faults()) {
      std::printf("%s: %s\n", std::string(fault.rule).c_str(), fault.text.c_str());
    }
  }
}
