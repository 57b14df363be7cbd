#include "capture/tcp/tcp_connections.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <unordered_map>
#include <vector>

#include "capture/tcp/tcp_connection.h"
#include "qvparsersupport/common/keyed_hash.h"

namespace qv::capture {

namespace {

// Both ends of a connection, the same whoever sends.
class ConnectionKey {
 public:
  explicit ConnectionKey(const TCPSegment& segment) {
    const End source = endOf(segment.source);
    const End destination = endOf(segment.destination);
    senderSide_ = source <= destination ? 0 : 1;
    ends_[senderSide_] = source;
    ends_[1 - senderSide_] = destination;
  }

  // The side that sent the segment that the key was made of.
  unsigned senderSide() const { return senderSide_; }
  friend bool operator==(const ConnectionKey& a, const ConnectionKey& b) {
    return a.ends_ == b.ends_;
  }
  std::size_t hash() const {
    return keyedHash({reinterpret_cast<const char*>(ends_.data()), sizeof ends_});
  }

 private:
  using End = std::array<std::uint64_t, 3>;
  static End endOf(const Endpoint& end) {
    End words{};
    std::memcpy(words.data(), end.address.data(), end.address.size());
    words[2] = static_cast<std::uint64_t>(end.port) << 1 | (end.isIPv6 ? 1 : 0);
    return words;
  }

  std::array<End, 2> ends_;
  unsigned senderSide_;
};

struct KeyHash {
  std::size_t operator()(const ConnectionKey& key) const { return key.hash(); }
};

// The clock of the capture. A packet can set it forward by a minute at most and never back, so that
// a garbled time does little harm; packets without a time take a millisecond each.
class CaptureClock {
 public:
  std::int64_t advance(const std::optional<std::int64_t>& time) {
    if (!time) return now_ += 1'000'000;
    if (last_ && *time > *last_) {
      const std::uint64_t passed =
          static_cast<std::uint64_t>(*time) - static_cast<std::uint64_t>(*last_);
      now_ += static_cast<std::int64_t>(std::min(passed, kLongestStep));
    }
    last_ = time;
    return now_;
  }

 private:
  static constexpr std::uint64_t kLongestStep = 60'000'000'000;
  std::int64_t now_ = 0;
  std::optional<std::int64_t> last_;
};

struct Followed;
using Entry = std::pair<const ConnectionKey, Followed>;

// A connection and where it stands in the books.
struct Followed {
  TCPConnection connection;
  std::list<Entry*>::iterator listed{};
  TCPConnection::Stage stage = TCPConnection::Stage::settling;
  std::int64_t closesAt = 0;
  // Of both streams: the rank of the hole that they wait at, 0 without one, and its place.
  std::array<std::uint64_t, 2> hole{};
  std::array<std::int64_t, 2> holeAt{};
};

}  // namespace

class TCPConnections::Impl {
 public:
  explicit Impl(ReassemblyLimits limits) : limits_(limits) {}

  void add(const TCPSegment& segment);
  void finish();
  std::optional<TCPEvent> next();
  std::size_t waitingBytes() const { return shared_.waitingBytes; }

 private:
  using Stage = TCPConnection::Stage;
  // How many closed connections are remembered.
  static constexpr std::size_t kRemembered = 1024;

  // The connection that the segment belongs to, a new one if need be; null for a stray segment.
  Entry* entryFor(const TCPSegment& segment, const ConnectionKey& key);
  Entry* begin(const TCPSegment& segment, const ConnectionKey& key);
  void close(Entry& entry, bool givenUp = false);
  void giveUpQuietest();
  void forget(Entry& entry);
  // To be called after everything that a connection did.
  void keepBooks(Entry& entry);
  void keepHole(Entry& entry, unsigned side);
  void closeWhatIsDue();
  void enforceTotal();

  ReassemblyLimits limits_;
  TCPReassembly shared_;
  CaptureClock clock_;
  std::int64_t now_ = 0;
  CapturePlace place_;  // of the segment that was added last
  std::uint64_t connections_ = 0;
  std::uint64_t holesSeen_ = 0;
  std::unordered_map<ConnectionKey, Followed, KeyHash> table_;
  Entry* last_ = nullptr;
  std::list<Entry*> open_;        // those that are not closed, the one quiet longest first
  std::list<Entry*> remembered_;  // closed ones, in the order in which they were
  std::map<std::uint64_t, Entry*> settling_;                         // by number
  std::map<std::pair<std::int64_t, std::uint64_t>, Entry*> ending_;  // by time and number
  std::map<std::uint64_t, std::pair<Entry*, unsigned>> holes_;       // the oldest first
  bool finished_ = false;
  std::vector<Entry*> unfinished_;  // what is left to close, the last one first
};

void TCPConnections::Impl::add(const TCPSegment& segment) {
  shared_.events.reclaim();
  if (finished_) return;
  now_ = clock_.advance(segment.place.timeNs);
  place_ = segment.place;
  const ConnectionKey key(segment);
  if (Entry* entry = entryFor(segment, key)) {
    entry->second.connection.add(segment, key.senderSide(), now_, shared_);
    keepBooks(*entry);
  }
  closeWhatIsDue();
  enforceTotal();
}

void TCPConnections::Impl::finish() {
  if (finished_) return;
  finished_ = true;
  unfinished_.assign(open_.begin(), open_.end());
  std::ranges::sort(unfinished_, std::ranges::greater(),
                    [](const Entry* entry) { return entry->second.connection.number(); });
}

std::optional<TCPEvent> TCPConnections::Impl::next() {
  for (;;) {
    if (auto event = shared_.events.take()) return event;
    if (unfinished_.empty()) return std::nullopt;
    Entry& entry = *unfinished_.back();
    unfinished_.pop_back();
    close(entry);
  }
}

Entry* TCPConnections::Impl::entryFor(const TCPSegment& segment, const ConnectionKey& key) {
  Entry* entry = last_;
  if (entry == nullptr || !(entry->first == key)) {
    const auto found = table_.find(key);
    // A RST tells nothing of a connection that is not known.
    if (found == table_.end()) return segment.rst ? nullptr : begin(segment, key);
    last_ = entry = &*found;
  }
  Followed& followed = entry->second;
  switch (followed.connection.belonging(segment, key.senderSide(), now_)) {
    case TCPConnection::Belonging::stray:
      return nullptr;
    case TCPConnection::Belonging::elsewhere:
      if (followed.stage != Stage::closed) close(*entry);
      forget(*entry);
      return begin(segment, key);
    case TCPConnection::Belonging::here:
      break;
  }
  if (followed.listed != std::prev(open_.end())) open_.splice(open_.end(), open_, followed.listed);
  return entry;
}

Entry* TCPConnections::Impl::begin(const TCPSegment& segment, const ConnectionKey& key) {
  if (!open_.empty() && open_.size() >= limits_.connections) giveUpQuietest();
  const bool swapped = key.senderSide() == 1;
  const Endpoint& side0 = swapped ? segment.destination : segment.source;
  const Endpoint& side1 = swapped ? segment.source : segment.destination;
  Entry& entry =
      *table_.try_emplace(key, Followed{TCPConnection(++connections_, side0, side1, now_)}).first;
  entry.second.listed = open_.insert(open_.end(), &entry);
  settling_.emplace(connections_, &entry);
  return last_ = &entry;
}

void TCPConnections::Impl::close(Entry& entry, bool givenUp) {
  entry.second.connection.close(place_, shared_, givenUp);
  keepBooks(entry);
}

void TCPConnections::Impl::giveUpQuietest() {
  Entry& entry = *open_.front();
  TCPConnection& connection = entry.second.connection;
  connection.settle(shared_);
  if (connection.stage() != Stage::closed) {
    connection.output(0, place_, shared_).add(TCPEventKind::limited);
  }
  close(entry, true);
  // Not remembered, so that it can go on.
  forget(entry);
}

void TCPConnections::Impl::forget(Entry& entry) {
  if (last_ == &entry) last_ = nullptr;
  remembered_.erase(entry.second.listed);
  table_.erase(entry.first);
}

void TCPConnections::Impl::keepBooks(Entry& entry) {
  Followed& followed = entry.second;
  TCPConnection& connection = followed.connection;
  for (const unsigned side : {0U, 1U}) {
    while (connection.stream(side).waitingBytes() > limits_.waitingBytesPerDirection) {
      connection.giveUpHole(side, now_, place_, shared_);
    }
    keepHole(entry, side);
  }
  if (followed.stage == connection.stage() && followed.closesAt == connection.closesAt()) return;
  const std::uint64_t number = connection.number();
  if (followed.stage == Stage::settling) settling_.erase(number);
  if (followed.stage == Stage::ending) ending_.erase({followed.closesAt, number});
  followed.stage = connection.stage();
  followed.closesAt = connection.closesAt();
  if (followed.stage == Stage::ending)
    ending_.emplace(std::pair(followed.closesAt, number), &entry);
  if (followed.stage == Stage::closed) {
    remembered_.splice(remembered_.end(), open_, followed.listed);
    if (remembered_.size() > kRemembered) forget(*remembered_.front());
  }
}

void TCPConnections::Impl::keepHole(Entry& entry, unsigned side) {
  const TCPStream& stream = entry.second.connection.stream(side);
  std::uint64_t& hole = entry.second.hole[side];
  std::int64_t& holeAt = entry.second.holeAt[side];
  const bool waits = stream.waitingBytes() > 0;
  if (hole != 0 && !(waits && holeAt == stream.delivered())) {
    holes_.erase(hole);
    hole = 0;
  }
  if (waits && hole == 0) {
    hole = ++holesSeen_;
    holeAt = stream.delivered();
    holes_.emplace(hole, std::pair(&entry, side));
  }
}

void TCPConnections::Impl::closeWhatIsDue() {
  while (!settling_.empty()) {
    Entry& entry = *settling_.begin()->second;
    if (now_ - entry.second.connection.begunAt() < TCPConnection::kSettlingTime) break;
    entry.second.connection.settle(shared_);
    keepBooks(entry);
  }
  while (!ending_.empty() && ending_.begin()->first.first <= now_) close(*ending_.begin()->second);
}

void TCPConnections::Impl::enforceTotal() {
  while (shared_.waitingBytes > limits_.waitingBytes) {
    if (!settling_.empty()) {
      Entry& entry = *settling_.begin()->second;
      entry.second.connection.settle(shared_);
      keepBooks(entry);
    } else if (!holes_.empty()) {
      const auto [entry, side] = holes_.begin()->second;
      entry->second.connection.giveUpHole(side, now_, place_, shared_);
      keepBooks(*entry);
    } else {
      break;
    }
  }
}

TCPConnections::TCPConnections(ReassemblyLimits limits) : impl_(std::make_unique<Impl>(limits)) {}
TCPConnections::TCPConnections(TCPConnections&&) noexcept = default;
TCPConnections& TCPConnections::operator=(TCPConnections&&) noexcept = default;
TCPConnections::~TCPConnections() = default;

void TCPConnections::add(const TCPSegment& segment) {
  impl_->add(segment);
}
void TCPConnections::finish() {
  impl_->finish();
}
std::optional<TCPEvent> TCPConnections::next() {
  return impl_->next();
}
std::size_t TCPConnections::waitingBytes() const {
  return impl_->waitingBytes();
}

}  // namespace qv::capture
