#include "benchmarks/support/profile_generator.h"

#include <fmt/format.h>

#include <iterator>

namespace qv::bench {

namespace {

constexpr std::size_t kEnums = 16;
constexpr std::size_t kTLV8s = 16;

using Out = std::back_insert_iterator<std::string>;

void addEnum(Out out, std::size_t index) {
  fmt::format_to(out,
                 "    <enum name=\"Mode {0}\" format=\"uint8\">\n      <values>\n"
                 "        <value value=\"0\" symbol=\"Off{0}\" description=\"Nothing moves\"/>\n"
                 "        <value value=\"1\" symbol=\"On{0}\" description=\"Everything moves\"/>\n"
                 "        <value value=\"2\" symbol=\"Auto{0}\"/>\n"
                 "      </values>\n    </enum>\n",
                 index);
}

void addTLV8(Out out, std::size_t index) {
  fmt::format_to(
      out,
      "    <tlv8 name=\"Record {0}\">\n      <fields>\n"
      "        <field type=\"0x01\" name=\"State\" format=\"uint8\" enum=\"Mode {1}\"/>\n"
      "        <field type=\"0x02\" name=\"Label\" format=\"string\" "
      "maximumLength=\"64\"/>\n"
      "        <field type=\"0xFE\" name=\"Blob\" format=\"data\"/>\n"
      "      </fields>\n    </tlv8>\n",
      index, index % kEnums);
}

void addFormat(Out out, std::size_t index) {
  switch (index % 4) {
    case 0:
      fmt::format_to(out, "      <format name=\"uint8\" enum=\"Mode {}\"/>\n", index % kEnums);
      return;
    case 1:
      fmt::format_to(out,
                     "      <format name=\"float\"/>\n      <minValue value=\"0\"/>\n"
                     "      <maxValue value=\"100\"/>\n      <step value=\"0.5\"/>\n"
                     "      <unit name=\"percentage\"/>\n");
      return;
    case 2:
      fmt::format_to(out, "      <format name=\"string\" maximumLength=\"64\"/>\n");
      return;
    default:
      fmt::format_to(out, "      <format name=\"tlv8\" tlv8=\"Record {}\"/>\n", index % kTLV8s);
  }
}

void addCharacteristic(Out out, std::size_t index) {
  fmt::format_to(out,
                 "    <characteristic name=\"Sample Level {0}\">\n"
                 "      <type uti=\"com.example.characteristic.level-{0}\"/>\n",
                 index);
  addFormat(out, index);
  fmt::format_to(out,
                 "      <properties>\n        <property name=\"pr\"/>\n"
                 "        <property name=\"pw\"/>\n        <property name=\"ev\"/>\n"
                 "      </properties>\n"
                 "      <ip>\n        <type uuid=\"{}\"/>\n      </ip>\n"
                 "      <btle>\n        <type uuid=\"B{:07X}-0000-1000-8000-0A3F5C91D270\"/>\n"
                 "      </btle>\n    </characteristic>\n",
                 generatedUUID(index), index);
}

void addService(Out out, std::size_t index, std::size_t characteristics) {
  fmt::format_to(out,
                 "    <service name=\"Sample Service {0}\">\n"
                 "      <type uuid=\"{1}\"/>\n",
                 index, generatedServiceUUID(index));
  for (const char* transport : {"ip", "btle"}) {
    fmt::format_to(out, "      <{}>\n        <required>\n", transport);
    for (std::size_t i = 0; i < 4; ++i) {
      fmt::format_to(out, "          <characteristic ref=\"sample level {}\"/>\n",
                     (index * 10 + i) % characteristics);
    }
    fmt::format_to(out, "        </required>\n        <optional/>\n      </{}>\n", transport);
  }
  fmt::format_to(out, "    </service>\n");
}

}  // namespace

std::string generatedUUID(std::size_t index) {
  return fmt::format("{:08x}-0000-1000-8000-0a3f5c91d270", index);
}

std::string generatedServiceUUID(std::size_t index) {
  return fmt::format("c{:07x}-0000-1000-8000-0a3f5c91d270", index);
}

std::string generatedProfile(std::size_t characteristics) {
  std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<profile>\n  <enums>\n";
  const Out out(text);
  for (std::size_t i = 0; i < kEnums; ++i) addEnum(out, i);
  text += "  </enums>\n  <tlv8s>\n";
  for (std::size_t i = 0; i < kTLV8s; ++i) addTLV8(out, i);
  text += "  </tlv8s>\n  <characteristics>\n";
  for (std::size_t i = 0; i < characteristics; ++i) addCharacteristic(out, i);
  text += "  </characteristics>\n  <services>\n";
  for (std::size_t i = 0; i < characteristics / 10; ++i) addService(out, i, characteristics);
  text += "  </services>\n</profile>\n";
  return text;
}

}  // namespace qv::bench
