#include "tools/qvcheck/json_view.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/common/json_writer.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/json_notes.h"
#include "tools/qvcheck/report_texts.h"
#include "tools/qvcheck/tlv8_view.h"

namespace qv::check {

namespace {

constexpr std::size_t kWidestKey = 20;
constexpr std::size_t kKindWidth = 7;
constexpr std::size_t kLongestText = 64;  // of a value, in bytes
constexpr std::size_t kLongestKey = 64;
constexpr std::size_t kMostInLine = 8;  // elements or entries
constexpr std::size_t kDeepest = 16;    // levels that are indented

std::string_view kindOf(const Value& value) {
  if (value.isNull()) return "null";
  if (value.isString()) return "string";
  if (value.isArray()) return "array";
  if (value.isDictionary()) return "object";
  const auto number = value.asNumber();
  return number && number->kind() == NumericKind::signedChar ? "boolean" : "number";
}

bool isContainer(const Value& value) {
  return value.isArray() || value.isDictionary();
}

bool holdsFewScalars(const Value& value) {
  if (value.count() > kMostInLine) return false;
  for (std::size_t i = 0; i < value.count(); ++i) {
    if (isContainer(value.at(i))) return false;
  }
  return jsonText(value, {.maximumBytes = kLongestText + 1}).size() <= kLongestText;
}

bool isFaulty(const std::shared_ptr<QVIPJSONObject>& object) {
  return object != nullptr && (object->errorDescription() || object->childObjectHasError());
}

std::string shortKey(std::string_view key) {
  return key.size() <= kLongestKey ? escaped(key) : escaped(key.substr(0, kLongestKey)) + "...";
}

// Whether the key had to be there and was not.
bool isMissing(const QVIPJSONExtractedValue& read) {
  return !read.jsonValue && read.errorDescription;
}

// An array or an object whose parts are being shown.
struct Frame {
  Value value;
  std::size_t level = 0;
  std::shared_ptr<QVIPJSONObject> object;  // that was read from an object
  QVIPJSONObjectList elements;             // that were read from an array's elements
  std::vector<QVIPJSONExtractedValue> reads;
  std::size_t width = 0;  // of the names of the parts
  std::size_t next = 0;
};

class Shower {
 public:
  Shower(ViewPage& page, const AttributeNames& names) : page_(page), names_(names) {}

  void show(std::size_t level, const Value& value, const std::shared_ptr<QVIPJSONObject>& object) {
    if (isContainer(value) && value.count() > 0) {
      open(level, value, object, {});
    } else {
      Part part;
      part.object = object;
      showPart(level, "", value, part);
    }
    while (!frames_.empty() && !page_.isFull()) step();
  }

 private:
  // What is known of one value.
  struct Part {
    std::shared_ptr<QVIPJSONObject> object;
    QVIPJSONObjectList elements;
    std::string label;
    ValueNote note;
    std::string fault;
  };

  void open(std::size_t level, const Value& value, std::shared_ptr<QVIPJSONObject> object,
            QVIPJSONObjectList elements) {
    Frame frame{value, level, std::move(object), std::move(elements), {}, 0, 0};
    if (frame.object != nullptr) frame.reads = frame.object->extractedValues();
    for (std::size_t i = 0; value.isDictionary() && i < value.count(); ++i) {
      frame.width = std::max(frame.width, escapedWidth(shortKey(value.keyAt(i))));
    }
    for (const QVIPJSONExtractedValue& read : frame.reads) {
      if (isMissing(read)) frame.width = std::max(frame.width, read.key.size());
    }
    frame.width = std::min(frame.width, kWidestKey);
    frames_.push_back(std::move(frame));
  }

  void step() {
    Frame& frame = frames_.back();
    if (frame.next == frame.value.count()) {
      showMissing(frame);
      frames_.pop_back();
      return;
    }
    const std::size_t index = frame.next++;
    const Value value = frame.value.at(index);
    const std::size_t level = frame.level;
    if (frame.value.isArray()) {
      Part part;
      if (index < frame.elements.size()) part.object = frame.elements[index];
      showPart(level, fmt::format("[{}]", index), value, part);
      return;
    }
    const std::string_view key = frame.value.keyAt(index);
    Part part = partOf(frame, key, value);
    const std::string name = shortKey(key);
    const std::string padding(frame.width - std::min(frame.width, escapedWidth(name)), ' ');
    showPart(level, name + padding, value, part);
  }

  Part partOf(const Frame& frame, std::string_view key, const Value& value) const {
    Part part;
    for (const QVIPJSONExtractedValue& read : frame.reads) {
      if (read.key != key) continue;
      if (const auto* one = std::get_if<std::shared_ptr<QVIPJSONObject>>(&read.value)) {
        part.object = *one;
      } else if (const auto* many = std::get_if<QVIPJSONObjectList>(&read.value)) {
        part.elements = *many;
      }
      part.fault = read.errorDescription.value_or("");
    }
    part.note = noteOf(frame.value, frame.object.get(), key, value, part.object.get(), names_);
    const auto& packet = part.note.packet;
    if (packet != nullptr && packet->errorDescription() == part.fault) part.fault.clear();
    return part;
  }

  void showPart(std::size_t level, const std::string& name, const Value& value, Part& part) {
    if (value.isDictionary()) part.label = labelOf(value, part.object.get(), names_);
    if (part.object != nullptr && part.fault.empty()) {
      part.fault = part.object->errorDescription().value_or("");
    }
    const bool anyFaulty = std::ranges::any_of(part.elements, isFaulty) || !part.label.empty() ||
                           (part.object != nullptr && part.object->childObjectHasError());
    const bool opens = isContainer(value) && value.count() > 0 && frames_.size() < kDeepest &&
                       (anyFaulty || !holdsFewScalars(value));
    std::string line = name.empty() ? "" : name + "  ";
    line += page_.ink(Shade::faint, fmt::format("{:<{}}", kindOf(value), kKindWidth)) + "  ";
    line += page_.ink(Shade::bold, part.label);
    if (opens && part.label.empty()) {
      line += page_.ink(Shade::faint, counted(value.count(), value.isArray() ? "element" : "key"));
    } else if (!opens && !value.isNull()) {
      line += escaped(jsonText(value, {.maximumBytes = kLongestText}));
    }
    if (!part.note.text.empty()) line += "  " + page_.ink(Shade::cyan, part.note.text);
    if (!part.fault.empty()) line += "  " + faultMark(page_.ink, part.fault);
    page_.line(level, line);
    if (part.note.packet != nullptr) {
      showTLV8(page_, level + 1, *part.note.packet, part.note.structure.get());
    }
    if (opens) open(level + 1, value, part.object, part.elements);
  }

  void showMissing(const Frame& frame) {
    if (!frame.value.isDictionary()) return;
    for (const QVIPJSONExtractedValue& read : frame.reads) {
      if (!isMissing(read)) continue;
      page_.line(frame.level,
                 fmt::format("{:<{}}  {:<{}}  {}", read.key, frame.width, "missing", kKindWidth,
                             faultMark(page_.ink, *read.errorDescription)));
    }
  }

  ViewPage& page_;
  const AttributeNames& names_;
  std::vector<Frame> frames_;
};

}  // namespace

void showJSON(ViewPage& page, std::size_t level, const Value& value,
              const std::shared_ptr<QVIPJSONObject>& object, const AttributeNames& names) {
  Shower(page, names).show(level, value, object);
}

}  // namespace qv::check
