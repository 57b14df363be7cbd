#include "qvparsersupport/json/tree_walk.h"

#include <fmt/format.h>

#include <utility>

#include "qvparsersupport/common/json_writer.h"

namespace qv {

// Goes through a tree in the order in which it was read, with the JSON Pointer of where it stands
// and the raw value there. `Visitor` has `visits(object)`, whether an object below the root is of
// interest at all, `enters(object)`, whether its parts are, `object(object, pointer, value)`, and
// `entry(object, entry, error, pointer)` for each journal entry, and `full()`, which ends the walk.
// Without `kShowsValues` the raw values below the root are left out, without `kShowsPlaces` the
// pointers.
class QVIPJSONTreeWalk {
 public:
  template <class Visitor>
  static void walk(const QVIPJSONObject& root, const std::optional<Value>& value,
                   Visitor& visitor) {
    QVIPJSONTreeWalk walk;
    walk.enter(root, value, visitor);
    while (!walk.frames_.empty() && !visitor.full()) walk.step(visitor);
  }

  static std::optional<Value> rawValue(const QVIPJSONObject& object, QVIPJSONKey key) {
    return object.rawValue(key);
  }
  static bool names(const QVIPJSONObject& object, std::string_view key) {
    return object.journal_.names(key);
  }
  static bool marksAll(const QVIPJSONObject& object, std::size_t keys) {
    return object.journal_.marksAll(keys);
  }

 private:
  // An object in the midst of its journal.
  struct Frame {
    const QVIPJSONObject* object;
    std::size_t pointerLength;
    std::size_t entry = 0;
    std::size_t child = 0;  // of the entry's children
  };

  template <class Visitor>
  void enter(const QVIPJSONObject& object, const std::optional<Value>& value, Visitor& visitor) {
    visitor.object(object, pointer_, value);
    if (visitor.enters(object)) frames_.push_back({&object, pointer_.size()});
  }

  // To the next child of the object that was entered last, or out of it.
  template <class Visitor>
  void step(Visitor& visitor) {
    Frame& frame = frames_.back();
    pointer_.resize(frame.pointerLength);
    const QVIPJSONJournal& journal = frame.object->journal_;
    for (; frame.entry < journal.size() && !visitor.full(); ++frame.entry, frame.child = 0) {
      const QVIPJSONJournal::Entry& entry = journal[frame.entry];
      if (frame.child == 0) visitor.entry(*frame.object, entry, journal.errorOf(entry), pointer_);
      const QVIPJSONJournal::Detail* detail = journal.detailOf(entry);
      if (detail == nullptr) continue;
      const auto* many = std::get_if<QVIPJSONChildren>(detail);
      const QVIPJSONObject* child = nextChild(*detail, frame.child, visitor);
      if (child == nullptr) continue;
      const QVIPJSONKey key = QVIPJSONJournal::keyOf(entry);
      std::optional<Value> value;
      if (Visitor::kShowsValues) value = rawValue(*frame.object, key);
      if (Visitor::kShowsPlaces) appendJSONPointerKey(pointer_, key.text());
      if (many != nullptr) {
        if (Visitor::kShowsPlaces) appendJSONPointerIndex(pointer_, frame.child);
        if (value) value = value->at(frame.child);
      }
      ++frame.child;
      enter(*child, value, visitor);  // the frame may move
      return;
    }
    frames_.pop_back();
  }

  // The first child of an entry from `at` on that is of interest; null when there is none.
  template <class Visitor>
  static const QVIPJSONObject* nextChild(const QVIPJSONJournal::Detail& detail, std::size_t& at,
                                         const Visitor& visitor) {
    if (const auto* one = std::get_if<std::shared_ptr<QVIPJSONObject>>(&detail)) {
      return at == 0 && *one != nullptr && visitor.visits(**one) ? one->get() : nullptr;
    }
    const auto* many = std::get_if<QVIPJSONChildren>(&detail);
    if (many == nullptr) return nullptr;
    while (at < many->size() && !visitor.visits(*(*many)[at])) ++at;
    return at < many->size() ? (*many)[at].get() : nullptr;
  }

  std::string pointer_;
  std::vector<Frame> frames_;
};

namespace {

constexpr std::size_t kShownBytes = 120;

std::string shown(const std::optional<Value>& value) {
  return value ? jsonText(*value, {.maximumBytes = kShownBytes}) : "no JSON value";
}

class FaultCollector {
 public:
  static constexpr bool kShowsValues = true;
  static constexpr bool kShowsPlaces = true;
  explicit FaultCollector(std::size_t limit) : limit_(limit) {}
  std::vector<QVIPJSONFault> take() { return std::move(faults_); }

  bool full() const { return faults_.size() >= limit_; }
  static bool enters(const QVIPJSONObject& object) { return object.childObjectHasError(); }
  static bool visits(const QVIPJSONObject& object) {
    return object.childObjectHasError() || object.errorDescription();
  }

  void object(const QVIPJSONObject& object, const std::string& pointer,
              const std::optional<Value>& value) {
    // The definition governs what is inside the object that names it.
    if (object.errorDescription() && !full()) {
      faults_.push_back({.text = *object.errorDescription(),
                         .pointer = pointer,
                         .key = {},
                         .expected = object.expectation(),
                         .actual = shown(value),
                         .definition = definitionAbove(object)});
    }
  }

  void entry(const QVIPJSONObject& object, const QVIPJSONJournal::Entry& entry,
             const std::string* error, const std::string& pointer) {
    if (full() || error == nullptr) return;
    const QVIPJSONKey key = QVIPJSONJournal::keyOf(entry);
    const std::optional<Value> value = QVIPJSONTreeWalk::rawValue(object, key);
    QVIPJSONFault fault{.text = *error,
                        .pointer = pointer,
                        .key = std::string(key.text()),
                        .expected = object.expectationForKey(key.text(), entry.type),
                        .actual = value ? shown(value) : "no such key",
                        .definition = definitionAbove(object)};
    if (value) appendJSONPointerKey(fault.pointer, key.text());
    faults_.push_back(std::move(fault));
  }

 private:
  static std::shared_ptr<const QVXMLObject> definitionAbove(const QVIPJSONObject& object) {
    if (auto own = object.governingDefinition()) return own;
    const auto parent = object.parent();
    return parent == nullptr ? nullptr : parent->governingDefinition();
  }

  std::size_t limit_;
  std::vector<QVIPJSONFault> faults_;
};

// Whether a key of the value was not read by the object, from that position on; sets the position.
bool findUnreadKey(const QVIPJSONObject& object, std::size_t& position) {
  const Value& value = *object.jsonObject();
  if (QVIPJSONTreeWalk::marksAll(object, value.count())) return false;
  while (position < value.count() && QVIPJSONTreeWalk::names(object, value.keyAt(position))) {
    ++position;
  }
  return position < value.count();
}

// A text or number has no keys, and most objects of a database are such.
bool hasKeys(const QVIPJSONObject& object) {
  return object.jsonObject() && object.jsonObject()->isDictionary();
}

// Whether there is any unread key: mostly there is none, and no place has to be composed.
class UnreadKeyDetector {
 public:
  static constexpr bool kShowsValues = false;
  static constexpr bool kShowsPlaces = false;

  bool full() const { return found_; }
  static bool enters(const QVIPJSONObject&) { return true; }
  static bool visits(const QVIPJSONObject& object) { return hasKeys(object); }
  void object(const QVIPJSONObject& object, const std::string&, const std::optional<Value>&) {
    std::size_t position = 0;
    found_ = found_ || (hasKeys(object) && findUnreadKey(object, position));
  }
  static void entry(const QVIPJSONObject&, const QVIPJSONJournal::Entry&, const std::string*,
                    const std::string&) {}

 private:
  bool found_ = false;
};

class UnreadKeyCollector {
 public:
  static constexpr bool kShowsValues = false;
  static constexpr bool kShowsPlaces = true;
  explicit UnreadKeyCollector(std::size_t limit) : limit_(limit) {}
  std::vector<JSONKeyPlace> take() { return std::move(places_); }

  bool full() const { return places_.size() >= limit_; }
  static bool enters(const QVIPJSONObject&) { return true; }
  static bool visits(const QVIPJSONObject& object) { return hasKeys(object); }

  void object(const QVIPJSONObject& object, const std::string& pointer,
              const std::optional<Value>&) {
    if (!hasKeys(object)) return;
    for (std::size_t i = 0; !full() && findUnreadKey(object, i); ++i) {
      const std::string_view key = object.jsonObject()->keyAt(i);
      JSONKeyPlace& place = places_.emplace_back(JSONKeyPlace{pointer, std::string(key), {}});
      appendJSONPointerKey(place.pointer, key);
    }
  }
  static void entry(const QVIPJSONObject&, const QVIPJSONJournal::Entry&, const std::string*,
                    const std::string&) {}

 private:
  std::size_t limit_;
  std::vector<JSONKeyPlace> places_;
};

}  // namespace

std::vector<QVIPJSONFault> faultsOfTree(const QVIPJSONObject& root,
                                        const std::optional<Value>& value, std::size_t limit) {
  FaultCollector collector(limit);
  QVIPJSONTreeWalk::walk(root, value, collector);
  return collector.take();
}

std::vector<JSONKeyPlace> unreadKeysOfTree(const QVIPJSONObject& root, std::size_t limit) {
  UnreadKeyDetector detector;
  QVIPJSONTreeWalk::walk(root, root.jsonObject(), detector);
  if (!detector.full()) return {};
  UnreadKeyCollector collector(limit);
  QVIPJSONTreeWalk::walk(root, root.jsonObject(), collector);
  return collector.take();
}

}  // namespace qv
