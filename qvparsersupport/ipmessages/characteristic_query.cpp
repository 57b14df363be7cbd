#include "qvparsersupport/ipmessages/characteristic_query.h"

#include <algorithm>

namespace qv {

namespace {

constexpr std::string_view kBeforeIDs = "/characteristics?id=";

std::size_t digitsFrom(std::string_view text, std::size_t start) {
  std::size_t end = start;
  while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
  return end;
}

}  // namespace

std::optional<std::vector<QVIPCharacteristicID>> characteristicIDsOfURL(
    std::string_view url, ErrorSlot errorDescription) {
  constexpr const char* kNoMatch = "URL did not match expected pattern.";
  if (!url.starts_with(kBeforeIDs)) return fail(errorDescription, kNoMatch);
  const std::string_view list = url.substr(kBeforeIDs.size());
  // Deliberate: no ids at all suit the pattern and are then one id of a wrong form.
  if (list.empty()) return fail(errorDescription, "Invalid ID format in URL query string.");
  std::vector<QVIPCharacteristicID> ids;
  ids.reserve(static_cast<std::size_t>(std::ranges::count(list, ',')) + 1);
  for (std::size_t start = 0;;) {
    const std::size_t dot = digitsFrom(list, start);
    if (dot == start || dot == list.size() || list[dot] != '.') {
      return fail(errorDescription, kNoMatch);
    }
    const std::size_t end = digitsFrom(list, dot + 1);
    if (end == dot + 1 || (end < list.size() && list[end] != ',')) {
      return fail(errorDescription, kNoMatch);
    }
    ids.push_back({std::string(list.substr(start, dot - start)),
                   std::string(list.substr(dot + 1, end - dot - 1))});
    if (end == list.size()) return ids;
    start = end + 1;
  }
}

}  // namespace qv
