#include "capture/har/har_url.h"

#include <fmt/format.h>

#include <algorithm>

#include "capture/http/ascii_case.h"

namespace qv::capture {

namespace {

struct Scheme {
  std::string_view name;
  std::string_view port;
};

constexpr Scheme kSchemes[] = {{"http", "80"}, {"https", "443"}, {"ws", "80"}, {"wss", "443"}};
constexpr std::string_view kAfterScheme = "://";
constexpr std::size_t kLongestPort = 5;
// No address is longer in any form; what is comes from elsewhere.
constexpr std::size_t kLongestAddress = 64;

constexpr std::string_view kLocalSchemes[] = {"data", "blob", "about", "javascript"};

const Scheme* schemeNamed(std::string_view name) {
  const auto* scheme = std::ranges::find_if(
      kSchemes, [&](const Scheme& row) { return equalsIgnoringCase(row.name, name); });
  return scheme == std::end(kSchemes) ? nullptr : scheme;
}

// RFC 3986, section 3.1.
bool isNameOfScheme(std::string_view text) {
  const auto isLetter = [](char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
  };
  return !text.empty() && isLetter(text.front()) && std::ranges::all_of(text, [&](char letter) {
    const bool isDigit = letter >= '0' && letter <= '9';
    return isLetter(letter) || isDigit || letter == '+' || letter == '-' || letter == '.';
  });
}

// The digits behind the last colon of "user@host:port" or "[address]:port"; empty without any.
std::string_view portOf(std::string_view authority) {
  const std::size_t colon = authority.rfind(':');
  if (colon == std::string_view::npos) return {};
  const std::string_view port = authority.substr(colon + 1);
  const bool hasDigitsAlone = std::all_of(
      port.begin(), port.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
  return hasDigitsAlone && port.size() <= kLongestPort ? port : std::string_view();
}

}  // namespace

// "localhost:80" names no scheme but a host.
bool isOfOtherKind(std::string_view url) {
  const std::size_t colon = url.find(':');
  if (colon == std::string_view::npos) return false;
  const std::string_view scheme = url.substr(0, colon);
  if (url.substr(colon).starts_with(kAfterScheme)) {
    return isNameOfScheme(scheme) && schemeNamed(scheme) == nullptr;
  }
  return std::ranges::any_of(
      kLocalSchemes, [&](std::string_view local) { return equalsIgnoringCase(local, scheme); });
}

std::optional<HARURL> readHARURL(std::string_view url) {
  url = url.substr(0, url.find('#'));
  if (url.starts_with('/') || url == "*") return HARURL{std::string(url), {}};
  const std::size_t colon = url.find(':');
  if (colon == std::string_view::npos || !url.substr(colon).starts_with(kAfterScheme)) {
    return std::nullopt;
  }
  const Scheme* scheme = schemeNamed(url.substr(0, colon));
  if (scheme == nullptr) return std::nullopt;
  const std::string_view rest = url.substr(colon + kAfterScheme.size());
  const std::size_t authorityEnd = std::min(rest.find_first_of("/?"), rest.size());
  const std::string_view path = rest.substr(authorityEnd);
  std::string target = path.starts_with('/') ? "" : "/";
  target += path;
  const std::string_view port = portOf(rest.substr(0, authorityEnd));
  return HARURL{std::move(target), port.empty() ? scheme->port : port};
}

std::string serverText(std::string_view address, const HARURL& url) {
  if (address.empty() || address.size() > kLongestAddress) return {};
  const bool isBare = address.find(':') != std::string_view::npos && !address.starts_with('[');
  return fmt::format("{}{}{}{}{}", isBare ? "[" : "", address, isBare ? "]" : "",
                     url.port.empty() ? "" : ":", url.port);
}

}  // namespace qv::capture
