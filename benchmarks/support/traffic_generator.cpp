#include "benchmarks/support/traffic_generator.h"

#include <fmt/format.h>

#include <iterator>
#include <string_view>
#include <utility>

namespace qv::bench {

namespace {

// Fields that a request and an answer carry beside those of their body.
constexpr std::string_view kRequestFields =
    "Host: lamp-7f3a.local:51826\r\nUser-Agent: controller/12.4\r\n";
constexpr std::string_view kResponseFields =
    "Date: Tue, 04 Mar 2025 10:11:12 GMT\r\nConnection: keep-alive\r\n";

constexpr std::string_view kValues[] = {"true", "42",    "21.5",       R"("Hall lamp")",
                                        "null", "false", "4294967295", R"("AQEBAgVMYW1wLg==")"};

HTTPText text(std::string_view startLine, std::string_view fields, std::string body) {
  std::string header = fmt::format("{}\r\n{}", startLine, fields);
  if (!body.empty()) {
    fmt::format_to(std::back_inserter(header),
                   "Content-Type: application/vel+json\r\nContent-Length: {}\r\n", body.size());
  }
  return {std::move(header), std::move(body)};
}

HTTPText request(std::string_view method, std::string_view url, std::string body = {}) {
  return text(fmt::format("{} {} HTTP/1.1", method, url), kRequestFields, std::move(body));
}

HTTPText response(std::string_view startLine, std::string body = {}) {
  return text(startLine, kResponseFields, std::move(body));
}

std::string readURL(std::size_t ids) {
  std::string url = "/characteristics?id=";
  for (std::size_t i = 0; i < ids; ++i) url += fmt::format("{}1.{}", i == 0 ? "" : ",", 9 + i);
  return url;
}

Exchange read(std::size_t index) {
  const std::size_t ids = index % 10 == 9 ? 20 : 1 + index % 4;
  const bool partial = index % 8 == 7;
  return {
      request("GET", readURL(ids)),
      response(partial ? "HTTP/1.1 207 Multi-Status" : "HTTP/1.1 200 OK", readBody(ids, partial))};
}

Exchange write(std::size_t index) {
  return {request("PUT", "/characteristics", writeBody(1 + index % 3)),
          response("HTTP/1.1 204 No Content")};
}

Exchange event(std::size_t index) {
  return {{}, response("EVENT/1.0 200 OK", readBody(1 + index % 2))};
}

Exchange prepare(std::size_t index) {
  return {request("PUT", "/prepare", fmt::format(R"({{"ttl":2500,"pid":{}}})", 11122333 + index)),
          response("HTTP/1.1 200 OK", R"({"status":0})")};
}

// One letter for each exchange of twenty: a read, a write, an event, a prepared write.
constexpr std::string_view kDay = "RERWEREWRRERWEREREPW";

}  // namespace

std::string readBody(std::size_t entries, bool withStatuses) {
  std::string body = R"({"characteristics":[)";
  for (std::size_t i = 0; i < entries; ++i) {
    body += fmt::format(R"({}{{"aid":1,"iid":{})", i == 0 ? "" : ",", 9 + i);
    const bool failed = withStatuses && i % 4 == 3;
    if (withStatuses) body += failed ? R"(,"status":-70402)" : R"(,"status":0)";
    if (!failed) body += fmt::format(R"(,"value":{})", kValues[i % std::size(kValues)]);
    body += "}";
  }
  return body + "]}";
}

std::string writeBody(std::size_t entries) {
  std::string body = R"({"characteristics":[)";
  for (std::size_t i = 0; i < entries; ++i) {
    body += fmt::format(R"({}{{"aid":1,"iid":{})", i == 0 ? "" : ",", 9 + i);
    if (i % 5 == 4) body += R"(,"authData":"c29tZSBkYXRh","remote":true)";
    if (i % 4 == 1) {
      body += R"(,"ev":true)";
    } else {
      body += fmt::format(R"(,"value":{})", kValues[i % std::size(kValues)]);
    }
    body += "}";
  }
  return body + "]}";
}

std::vector<Exchange> ordinaryDay(std::size_t exchanges, std::string database) {
  std::vector<Exchange> day;
  day.push_back({request("GET", "/accessories"), response("HTTP/1.1 200 OK", std::move(database))});
  for (std::size_t i = 0; day.size() < exchanges; ++i) {
    switch (kDay[i % kDay.size()]) {
      case 'R':
        day.push_back(read(i));
        break;
      case 'W':
        day.push_back(write(i));
        break;
      case 'E':
        day.push_back(event(i));
        break;
      default:
        day.push_back(prepare(i));
    }
  }
  return day;
}

}  // namespace qv::bench
