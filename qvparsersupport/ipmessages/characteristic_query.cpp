#include "qvparsersupport/ipmessages/characteristic_query.h"

namespace qv {

namespace {

constexpr std::string_view kBeforeIDs = "/characteristics?id=";

// Where the digits end that begin at `start`.
std::size_t digitsFrom(std::string_view text, std::size_t start) {
  std::size_t end = start;
  while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
  return end;
}

// Calls back with both ids of each pair; false when the list is none of pairs, which may show late.
template <class Take>
bool readPairs(std::string_view list, Take take) {
  for (std::size_t start = 0;;) {
    const std::size_t dot = digitsFrom(list, start);
    if (dot == start || dot == list.size() || list[dot] != '.') return false;
    const std::size_t end = digitsFrom(list, dot + 1);
    if (end == dot + 1 || (end < list.size() && list[end] != ',')) return false;
    take(list.substr(start, dot - start), list.substr(dot + 1, end - dot - 1));
    if (end == list.size()) return true;
    start = end + 1;
  }
}

}  // namespace

std::optional<std::vector<QVIPCharacteristicID>> characteristicIDsOfURL(
    std::string_view url, ErrorSlot errorDescription) {
  constexpr const char* kNoMatch = "URL did not match expected pattern.";
  if (!url.starts_with(kBeforeIDs)) return fail(errorDescription, kNoMatch);
  const std::string_view list = url.substr(kBeforeIDs.size());
  // Deliberate: no ids at all suit the pattern and are then one id of a wrong form.
  if (list.empty()) return fail(errorDescription, "Invalid ID format in URL query string.");
  // Counted first, so that nothing is allocated for a list that is refused.
  std::size_t count = 0;
  if (!readPairs(list, [&](std::string_view, std::string_view) { ++count; })) {
    return fail(errorDescription, kNoMatch);
  }
  std::vector<QVIPCharacteristicID> ids;
  ids.reserve(count);
  readPairs(list, [&](std::string_view aid, std::string_view iid) {
    ids.push_back({std::string(aid), std::string(iid)});
  });
  return ids;
}

}  // namespace qv
