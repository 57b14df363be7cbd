#include "benchmarks/support/database_generator.h"

#include <fmt/format.h>

#include <iterator>

#include "benchmarks/support/profile_generator.h"

namespace qv::bench {

namespace {

constexpr std::size_t kServices = 6;         // of an accessory
constexpr std::size_t kCharacteristics = 5;  // of a service

using Out = std::back_insert_iterator<std::string>;

// Accessories give short and full forms alike.
std::string typeOf(const std::string& uuid, std::size_t item) {
  if (item % 3 == 0) return uuid;
  return uuid.substr(uuid.find_first_not_of('0'), 8 - uuid.find_first_not_of('0'));
}

// The formats of the profile, with the keys that suit them.
void addFormat(Out out, std::size_t index, std::size_t item) {
  switch (index % 4) {
    case 0:
      fmt::format_to(out,
                     ",\"format\":\"uint8\",\"minValue\":0,\"maxValue\":2,\"minStep\":1,"
                     "\"valid-values\":[0,1,2],\"value\":{}",
                     item % 3);
      return;
    case 1:
      fmt::format_to(out,
                     ",\"format\":\"float\",\"unit\":\"percentage\",\"minValue\":0,"
                     "\"maxValue\":100,\"minStep\":0.5,\"value\":{}.5",
                     item % 100);
      return;
    case 2:
      fmt::format_to(out, ",\"format\":\"string\",\"maxLen\":64,\"value\":\"Living room lamp {}\"",
                     item);
      return;
    default:
      fmt::format_to(out, ",\"format\":\"tlv8\",\"value\":\"AQEBAghMYWJlbCAwMf4DAQID\"");
  }
}

void addCharacteristic(Out out, std::size_t index, std::size_t item) {
  const std::size_t known = (index * 7 + 1) % kDatabaseCharacteristics;
  fmt::format_to(out, "{{\"type\":\"{}\",\"iid\":{},\"perms\":[\"pr\",\"pw\",\"ev\"]",
                 typeOf(generatedUUID(known), item), 10 + item);
  if (item % 2 == 0) fmt::format_to(out, ",\"description\":\"Sample Level {}\"", known);
  if (item % 5 < 2) fmt::format_to(out, ",\"ev\":{}", item % 2 == 0);
  addFormat(out, known, item);
  fmt::format_to(out, "}}");
}

void addService(Out out, std::size_t index, std::size_t first) {
  fmt::format_to(out, "{{\"type\":\"{}\",\"iid\":{},\"primary\":{},\"characteristics\":[",
                 generatedServiceUUID(index % (kDatabaseCharacteristics / 10)), 1 + index % 9,
                 index % kServices == 0);
  for (std::size_t i = 0; i < kCharacteristics; ++i) {
    if (i > 0) fmt::format_to(out, ",");
    addCharacteristic(out, index * kCharacteristics + i, first + i);
  }
  fmt::format_to(out, "]}}");
}

}  // namespace

std::string attributeDatabase(std::size_t bytes) {
  std::string text = "{\"accessories\":[";
  const Out out(text);
  for (std::size_t accessory = 0; accessory == 0 || text.size() < bytes; ++accessory) {
    if (accessory > 0) text += ",";
    fmt::format_to(out, "{{\"aid\":{},\"services\":[", accessory + 1);
    for (std::size_t i = 0; i < kServices; ++i) {
      if (i > 0) text += ",";
      addService(out, accessory * kServices + i, i * kCharacteristics);
    }
    text += "]}";
  }
  return text + "]}";
}

}  // namespace qv::bench
