#include "tests/support/xml_fragment.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

#include "qvparsersupport/common/xml_reader.h"

namespace qv::test {

std::shared_ptr<const XMLDocument> documentFrom(std::string_view text, std::string name) {
  XMLParseResult result = parseXML(bytesOf(text), std::move(name));
  if (result.document == nullptr) {
    std::fprintf(stderr, "test fixture is no XML: %s\n%.*s\n", result.error.c_str(),
                 static_cast<int>(text.size()), text.data());
    std::abort();
  }
  return result.document;
}

std::shared_ptr<const XMLElement> elementFrom(std::string_view text) {
  return documentFrom(text)->rootElement();
}

std::string profileText(std::string_view enums, std::string_view tlv8s,
                        std::string_view characteristics, std::string_view services) {
  std::string text = "<profile><enums>";
  text += enums;
  text += "</enums><tlv8s>";
  text += tlv8s;
  text += "</tlv8s><characteristics>";
  text += characteristics;
  text += "</characteristics><services>";
  text += services;
  text += "</services></profile>";
  return text;
}

std::string profileWithFragment(const std::string& section, const std::string& xml) {
  if (section == "profile") return xml;
  const auto in = [&](const char* name) { return section == name ? xml : ""; };
  return profileText("<enum name='E' format='uint8'><values/></enum>" + in("enums"), in("tlv8s"),
                     "<characteristic name='A'><format name='bool'/>"
                     "<ip><type uti='u.a' uuid='1A'/></ip><btle><type uti='u.b' uuid='1B'/></btle>"
                     "</characteristic>" +
                         in("characteristics"),
                     "<service name='S'><ip><type uti='s.a' uuid='2A'/></ip>"
                     "<btle><type uti='s.b' uuid='2B'/></btle></service>" +
                         in("services"));
}

}  // namespace qv::test
