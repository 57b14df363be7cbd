#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace qv::bench {

// The body of a 200 or (with statuses) 207 answer to a read of that many characteristics, and of a
// write to as many: values of every kind, subscriptions, some authorisation data.
std::string readBody(std::size_t entries, bool withStatuses = false);
std::string writeBody(std::size_t entries);

// A header block without the blank line after it, and its body.
struct HTTPText {
  std::string header;
  std::string body;
};

// A request with its answer; an event notification has only an answer.
struct Exchange {
  HTTPText request;
  HTTPText response;
  bool isEvent() const { return request.header.empty(); }
};

// An ordinary day of one connection: the attribute database once, then mostly reads, events and
// writes, now and then a prepared write. The same count always gives the same exchanges.
std::vector<Exchange> ordinaryDay(std::size_t exchanges, std::string database);

}  // namespace qv::bench
