#include "capture/records/record_connections.h"

#include <cstddef>
#include <utility>

namespace qv::capture {
namespace {

constexpr std::size_t kMostConnections = 4096;

}  // namespace

RecordConnection* RecordConnections::find(std::string_view name) {
  const auto found = byName_.find(name);
  return found == byName_.end() ? nullptr : &found->second->connection;
}

bool RecordConnections::open(const std::string& name, ConnectionOpened opened, bool paired) {
  close(name);
  const bool tooMany = entries_.size() == kMostConnections;
  if (tooMany) closeQuietest();
  opened.connection = ++opened_;
  entries_.push_back(Entry{name, RecordConnection(opened_, paired)});
  byName_.emplace(name, std::prev(entries_.end()));
  events_.emplace_back(std::move(opened));
  return tooMany && !std::exchange(tooMany_, true);
}

void RecordConnections::touch(std::string_view name) {
  const auto found = byName_.find(name);
  if (found != byName_.end()) entries_.splice(entries_.end(), entries_, found->second);
}

void RecordConnections::close(std::string_view name) {
  const auto found = byName_.find(name);
  if (found != byName_.end()) close(found->second);
}

bool RecordConnections::closeQuietest() {
  if (entries_.empty()) return false;
  close(entries_.begin());
  return true;
}

void RecordConnections::close(Entries::iterator entry) {
  entry->connection.finish();
  deliver(entry->connection);
  events_.emplace_back(ConnectionClosed{entry->connection.number()});
  byName_.erase(entry->name);
  entries_.erase(entry);
}

void RecordConnections::deliver(RecordConnection& connection) {
  while (std::optional<ExchangeRecord> record = connection.next()) {
    events_.emplace_back(std::move(*record));
  }
}

}  // namespace qv::capture
