#pragma once

#include <cstdint>
#include <deque>
#include <list>
#include <map>
#include <string>
#include <string_view>

#include "capture/capture_reader.h"
#include "capture/records/record_connection.h"

namespace qv::capture {

// The open connections of an input of records, by name. What happens on them is appended to a list
// of events.
class RecordConnections {
 public:
  explicit RecordConnections(std::deque<CaptureEvent>& events) : events_(events) {}

  // Null when none of that name is open.
  RecordConnection* find(std::string_view name);
  // Opens one under this name, and closes one that has it. Of too many the one that was quiet
  // longest is closed; true when that happened for the first time.
  bool open(const std::string& name, ConnectionOpened opened, bool paired);
  // The one of that name is used now.
  void touch(std::string_view name);
  void close(std::string_view name);
  // False when none is open.
  bool closeQuietest();
  // Appends what the connection has to tell.
  void deliver(RecordConnection& connection);

 private:
  struct Entry {
    std::string name;
    RecordConnection connection;
  };
  using Entries = std::list<Entry>;

  void close(Entries::iterator entry);

  std::deque<CaptureEvent>& events_;
  Entries entries_;  // the one that was quiet longest first
  std::map<std::string, Entries::iterator, std::less<>> byName_;
  std::uint64_t opened_ = 0;
  bool tooMany_ = false;
};

}  // namespace qv::capture
