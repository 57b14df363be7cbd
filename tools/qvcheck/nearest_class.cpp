#include "tools/qvcheck/nearest_class.h"

#include <fmt/format.h>

#include <string_view>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/ipmessages/message_class.h"

namespace qv::check {

namespace {

struct Request {
  std::string_view method;
  std::string_view url;
};

// Ways in which a request can just miss a class, nearest first.
struct NearMiss {
  const char* difference;
  bool (*applies)(const Request& seen, const QVIPMessageClass& row);
};

std::string_view withoutQuery(std::string_view url) {
  return url.substr(0, url.find('?'));
}

std::string_view withoutSlash(std::string_view url) {
  return url.size() > 1 && url.ends_with('/') ? url.substr(0, url.size() - 1) : url;
}

// Whether the method asks for a change, as far as its name tells.
bool changes(std::string_view method) {
  return method != "GET" && method != "HEAD" && method != "OPTIONS";
}

constexpr NearMiss kNearMisses[] = {
    {"the URL carries a query",
     [](const Request& seen, const QVIPMessageClass& row) {
       return seen.method == row.method && withoutQuery(seen.url) == row.url;
     }},
    {"the URL ends in a slash",
     [](const Request& seen, const QVIPMessageClass& row) {
       return seen.method == row.method && withoutSlash(seen.url) == row.url;
     }},
    {"letter case differs",
     [](const Request& seen, const QVIPMessageClass& row) {
       return lowercased(seen.method) == lowercased(row.method) &&
              lowercased(seen.url) == lowercased(row.url);
     }},
    {"method differs",
     [](const Request& seen, const QVIPMessageClass& row) {
       return withoutQuery(seen.url) == row.url && changes(seen.method) == changes(row.method);
     }},
    {"method differs",
     [](const Request& seen, const QVIPMessageClass& row) {
       return withoutQuery(seen.url) == row.url;
     }},
};

}  // namespace

std::string nearestClass(const std::optional<std::string>& method,
                         const std::optional<std::string>& url) {
  if (!method || !url) return "the start line holds no method and URL";
  const Request seen{*method, *url};
  for (const NearMiss& miss : kNearMisses) {
    for (const QVIPMessageClass& row : QVIPMessage::_messageClasses()) {
      if (row.method == nullptr || !miss.applies(seen, row)) continue;
      return fmt::format("nearest: {} {} ({})", row.method, row.url, miss.difference);
    }
  }
  return {};
}

}  // namespace qv::check
