#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/fuzz.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv::fuzz {

inline constexpr std::string_view kProfile = R"(<profile>
  <enums>
    <enum name="Mode" format="uint8"><values><value value="1" symbol="On"/></values></enum>
  </enums>
  <tlv8s>
    <tlv8 name="Pairing"><fields>
      <field type="0x06" name="State" format="uint8" enum="Mode"/>
      <field type="0x01" name="Identifier" format="data" maximumLength="8"/>
    </fields></tlv8>
  </tlv8s>
  <characteristics>
    <characteristic name="Mode">
      <type uuid="000000A1-0000-1000-8000-0A3F5C91D270"/><format name="uint8" enum="Mode"/><ip/>
    </characteristic>
    <characteristic name="Label">
      <type uuid="000000A2-0000-1000-8000-0A3F5C91D270"/><format name="string"/><ip/>
    </characteristic>
    <characteristic name="Plan">
      <type uuid="000000A3-0000-1000-8000-0A3F5C91D270"/><format name="tlv8" tlv8="Pairing"/><ip/>
    </characteristic>
    <characteristic name="Power">
      <type uuid="000000A4-0000-1000-8000-0A3F5C91D270"/><format name="bool"/><ip/>
    </characteristic>
  </characteristics>
  <services>
    <service name="Lamp">
      <type uuid="000000B1-0000-1000-8000-0A3F5C91D270"/>
      <ip><required><characteristic ref="Power"/></required></ip>
    </service>
  </services>
</profile>)";

// Loads a small profile into the shared table, once.
inline void loadProfile() {
  static const bool loaded = [] {
    setProcessLogSink([](std::string_view) {});
    const std::shared_ptr<const XMLDocument> documents[] = {
        parseXML(bytesOf(kProfile), "profile.xml").document};
    std::optional<std::string> error;
    const bool done = QVSymbolTable::sharedSymbolTable().loadDocuments(documents, &error);
    expect(done, error.value_or("the profile loads").c_str());
    return done;
  }();
  expect(loaded, "the profile loads");
}

}  // namespace qv::fuzz
