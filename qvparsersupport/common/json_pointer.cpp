#include "qvparsersupport/common/json_pointer.h"

#include <array>
#include <charconv>
#include <deque>
#include <unordered_map>
#include <unordered_set>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_scan.h"
#include "qvparsersupport/common/keyed_hash.h"

namespace qv {

namespace {

// Pointers repeat the keys on their way: without an end to their bytes, a text of one long key and
// many short ones below it would grow far beyond its size.
constexpr std::size_t kPointerBytes = std::size_t{16} << 20;

using IndexText = std::array<char, 20>;

std::string_view textOfIndex(std::size_t index, IndexText& buffer) {
  const auto written = std::to_chars(buffer.data(), buffer.data() + buffer.size(), index);
  return {buffer.data(), static_cast<std::size_t>(written.ptr - buffer.data())};
}

// Undoes "~0" and "~1"; false for any other "~".
bool decodeStep(std::string_view step, std::string& decoded) {
  for (std::size_t at = 0; at < step.size(); ++at) {
    if (step[at] != '~') {
      decoded.push_back(step[at]);
      continue;
    }
    if (++at == step.size() || (step[at] != '0' && step[at] != '1')) return false;
    decoded.push_back(step[at] == '0' ? '~' : '/');
  }
  return true;
}

// The places that pointers name, as a tree of steps. All steps stand in one table under a keyed
// hash: both the pointers and the keys of the text are untrusted.
class PlaceTree {
 public:
  PlaceTree() : places_(1) { places_[0].visit = 1; }

  // The place that a pointer names, kNoJSONValue for what is no pointer. Refers to the pointer.
  std::size_t add(std::string_view pointer) {
    if (!pointer.empty() && pointer.front() != '/') return kNoJSONValue;
    std::size_t place = 0;
    while (!pointer.empty()) {
      pointer.remove_prefix(1);
      std::string_view step = pointer.substr(0, pointer.find('/'));
      pointer.remove_prefix(step.size());
      if (step.find('~') != std::string_view::npos) {
        std::string& decoded = decoded_.emplace_back();
        if (!decodeStep(step, decoded)) return kNoJSONValue;
        step = decoded;
      }
      const auto [entry, isNew] = steps_.try_emplace({place, step}, places_.size());
      if (isNew) {
        places_[place].hasChildren = true;
        places_.push_back({.parent = place});
      }
      place = entry->second;
    }
    return place;
  }

  std::optional<ByteRange> valueOf(std::size_t place) const {
    return place < places_.size() && places_[place].isCurrent ? places_[place].value : std::nullopt;
  }
  std::optional<ByteRange> keyOf(std::size_t place) const {
    return place < places_.size() && places_[place].isCurrent ? places_[place].key : std::nullopt;
  }

  // Finds all places in one pass.
  void locate(ByteView text) {
    JSONWalk(textOf(text), *this).run(0);
    // What was found below an earlier occurrence of a repeated key does not count. Parents stand
    // before their children.
    places_[0].isCurrent = true;
    for (std::size_t i = 1; i < places_.size(); ++i) {
      const Place& parent = places_[places_[i].parent];
      places_[i].isCurrent = parent.isCurrent && places_[i].parentVisit == parent.visit;
    }
  }

  std::size_t member(std::size_t container, std::string_view key, ByteRange range) {
    return visit(container, key, range);
  }
  std::size_t element(std::size_t container, std::size_t index) {
    IndexText buffer;
    return visit(container, textOfIndex(index, buffer), std::nullopt);
  }
  bool enters(std::size_t place) const { return places_[place].hasChildren; }
  void leaves(std::size_t place, ByteRange range) { places_[place].value = range; }
  bool done() const { return false; }

 private:
  struct Place {
    std::size_t parent = 0;
    // Drawn anew each time the place is met; a place counts only when it was met during the last
    // visit of its parent.
    std::size_t visit = 0;
    std::size_t parentVisit = 0;
    std::optional<ByteRange> key = std::nullopt;
    std::optional<ByteRange> value = std::nullopt;
    bool hasChildren = false;
    bool isCurrent = false;
  };
  struct Step {
    std::size_t parent;
    std::string_view name;
    friend bool operator==(const Step&, const Step&) = default;
  };
  struct StepHash {
    std::size_t operator()(const Step& step) const {
      return keyedHash(step.name) + step.parent * 0x9E3779B97F4A7C15U;
    }
  };

  std::size_t visit(std::size_t container, std::string_view step, std::optional<ByteRange> key) {
    const auto found = steps_.find({container, step});
    if (found == steps_.end()) return kNoJSONValue;
    Place& place = places_[found->second];
    place.visit = ++visits_;
    place.parentVisit = places_[container].visit;
    place.key = key;
    place.value.reset();
    return found->second;
  }

  std::vector<Place> places_;
  std::unordered_map<Step, std::size_t, StepHash> steps_;
  std::deque<std::string> decoded_;
  std::size_t visits_ = 1;
};

// Names each value by its depth.
class RepeatedKeys {
 public:
  explicit RepeatedKeys(std::size_t limit) : limit_(limit) {}

  std::vector<JSONKeyPlace> take() { return std::move(found_); }

  std::size_t member(std::size_t depth, std::string_view key, ByteRange range) {
    Level& level = levels_[depth];
    level.key = key;
    if (!level.keys.insert(level.key).second) add(range);
    return depth + 1;
  }
  std::size_t element(std::size_t depth, std::size_t index) {
    IndexText buffer;
    levels_[depth].key = textOfIndex(index, buffer);
    return depth + 1;
  }
  bool enters(std::size_t depth) {
    if (depth >= JSONLimits::kMaximumDepth) return false;
    levels_.emplace_back();
    return true;
  }
  void leaves(std::size_t depth, ByteRange) { levels_.resize(std::min(levels_.size(), depth)); }
  bool done() const { return found_.size() >= limit_ || pointerBytes_ >= kPointerBytes; }

 private:
  struct KeyHash {
    std::size_t operator()(const std::string& key) const { return keyedHash(key); }
  };
  struct Level {
    std::string key;  // of the member that is being read, or the index of the element
    std::unordered_set<std::string, KeyHash> keys;
  };

  void add(ByteRange range) {
    JSONKeyPlace place;
    for (const Level& level : levels_) appendJSONPointerKey(place.pointer, level.key);
    place.key = levels_.back().key;
    place.range = range;
    pointerBytes_ += place.pointer.size();
    found_.push_back(std::move(place));
  }

  std::size_t limit_;
  std::vector<Level> levels_;
  std::vector<JSONKeyPlace> found_;
  std::size_t pointerBytes_ = 0;
};

}  // namespace

void appendJSONPointerKey(std::string& pointer, std::string_view key) {
  pointer.push_back('/');
  for (const char c : key) {
    if (c == '~' || c == '/') {
      pointer.append(c == '~' ? "~0" : "~1");
    } else {
      pointer.push_back(c);
    }
  }
}

void appendJSONPointerIndex(std::string& pointer, std::size_t index) {
  IndexText buffer;
  pointer.append("/").append(textOfIndex(index, buffer));
}

std::optional<ByteRange> rangeOfJSONPointer(ByteView text, std::string_view pointer) {
  PlaceTree tree;
  const std::size_t place = tree.add(pointer);
  if (place == kNoJSONValue) return std::nullopt;
  tree.locate(text);
  return tree.valueOf(place);
}

std::vector<std::optional<ByteRange>> rangesOfJSONPointers(ByteView text,
                                                           std::span<const std::string> pointers) {
  PlaceTree tree;
  std::vector<std::size_t> places;
  places.reserve(pointers.size());
  for (const std::string& pointer : pointers) places.push_back(tree.add(pointer));
  tree.locate(text);
  std::vector<std::optional<ByteRange>> ranges;
  ranges.reserve(places.size());
  for (const std::size_t place : places) ranges.push_back(tree.valueOf(place));
  return ranges;
}

std::vector<JSONKeyPlace> repeatedJSONKeys(ByteView text, std::size_t limit) {
  RepeatedKeys visitor(limit);
  if (limit > 0) JSONWalk(textOf(text), visitor).run(0);
  return visitor.take();
}

void locateJSONKeys(ByteView text, std::span<JSONKeyPlace> places) {
  PlaceTree tree;
  std::vector<std::size_t> found;
  found.reserve(places.size());
  for (const JSONKeyPlace& place : places) found.push_back(tree.add(place.pointer));
  tree.locate(text);
  for (std::size_t i = 0; i < places.size(); ++i) places[i].range = tree.keyOf(found[i]);
}

}  // namespace qv
