#include "tools/qvcheck/key_findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "tools/qvcheck/finding_builder.h"

namespace qv::check {

namespace {

// Keys that are read under a condition only.
struct Condition {
  const char* key;
  bool (*applies)(const QVIPMessage& message);
  const char* hint;
};

template <class Message>
bool isOf(const QVIPMessage& message) {
  return dynamic_cast<const Message*>(&message) != nullptr;
}

constexpr Condition kConditions[] = {
    {"value", isOf<QVIPMultipleCharacteristicWriteRequestMessage>,
     "\"value\" is not read beside \"ev\""},
    {"value", isOf<QVIPAccessoryAttributeDatabaseResponseMessage>,
     "\"value\" is read only where \"perms\" can be read"},
    {"status", isOf<QVIPMultipleCharacteristicReadResponseMessage>,
     "\"status\" is read only in entries of a 207 and beside the entries of a 500"},
    {"status", isOf<QVIPEventNotificationMessage>, "entries of an event have no \"status\""},
};

// Keys that a writer easily gives in another letter case.
constexpr const char* kMixedCaseKeys[] = {"aid",      "iid",     "minValue",   "maxValue",
                                          "minStep",  "maxLen",  "maxDataLen", "authData",
                                          "services", "primary", "hidden",     "linked",
                                          "perms",    "format",  "unit",       "description"};

std::string hintForUnreadKey(const QVIPMessage& message, const std::string& key) {
  for (const Condition& condition : kConditions) {
    if (key == condition.key && condition.applies(message)) return condition.hint;
  }
  constexpr std::size_t kLongestKey = 16;
  if (key.size() > kLongestKey) return {};
  for (const char* known : kMixedCaseKeys) {
    if (key != known && lowercased(key) == lowercased(known)) {
      return fmt::format("nearest: \"{}\" (letter case differs)", known);
    }
  }
  return {};
}

}  // namespace

void findKeys(const QVIPMessage& typed, const capture::FramedMessage& message,
              const std::function<void(Finding)>& report) {
  for (const JSONKeyPlace& place : typed.repeatedJSONKeys()) {
    Finding finding = findingForKey(
        "json.repeated-key", fmt::format("the object gives \"{}\" more than once", place.key),
        place, message);
    finding.hint = "the last value counts";
    report(std::move(finding));
  }
  const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(&typed);
  if (json == nullptr) return;
  std::vector<JSONKeyPlace> unread = json->unreadJSONKeys();
  std::ranges::stable_sort(unread, {}, [](const JSONKeyPlace& place) {
    return place.range.value_or(ByteRange()).offset;
  });
  const bool isServerError = typed.httpMessage()->responseCode() == "500";
  for (const JSONKeyPlace& place : unread) {
    // What every 500 is asked for.
    if (isServerError && place.pointer == "/status") continue;
    Finding finding = findingForKey(
        "json.unread-key", fmt::format("nothing reads the key \"{}\"", place.key), place, message);
    finding.hint = hintForUnreadKey(typed, place.key);
    report(std::move(finding));
  }
}

}  // namespace qv::check
