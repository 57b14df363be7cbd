#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/json/extracted_value.h"
#include "qvparsersupport/json/json_key.h"
#include "qvparsersupport/json/json_value_type.h"
#include "qvparsersupport/json/tree_arena.h"
#include "qvparsersupport/json/value_journal.h"

namespace qv {

class QVXMLObject;

// Set while a characteristic is read whose "status" excuses a missing "value"; every construction
// of a JSON object clears it. One unsynchronised flag for the process, so JSON bodies are validated
// on one thread at a time; a build without NDEBUG ends the program when two threads do it at once.
QV_EXPORT extern bool sawFailStatus;

// Base of the objects that validate a JSON body, one for each JSON object or array element. An
// object reads its keys in its initialiser; every read is kept in a journal. A fault is recorded
// on the object or the journal entry where it is found and flagged upwards to the root, so that the
// root can tell whether anything below it is faulty.
//
// Made in two steps, so that an initialiser can hand its own object to the children that it builds:
// std::make_shared, then `initWithJSONObject`; `make` does both. The parent owns its children; the
// link upwards owns nothing and answers null once the parent is gone, so a host may keep a child
// alone. The children that reads make lie in memory that their whole tree shares and that is given
// back when the last of them is gone: one that is kept alone keeps all of it (a few times the bytes
// of the JSON text), though not the other objects. Children of an object that no shared_ptr owns
// have no parent; that object is flagged for the faults with which they are built. An object must
// never become its own ancestor.
class QV_EXPORT QVIPJSONObject : public std::enable_shared_from_this<QVIPJSONObject> {
 public:
  QVIPJSONObject();
  QVIPJSONObject(const QVIPJSONObject&) = delete;
  QVIPJSONObject& operator=(const QVIPJSONObject&) = delete;
  virtual ~QVIPJSONObject();

  template <class Object>
  static std::shared_ptr<Object> make(std::optional<Value> jsonObject,
                                      const std::shared_ptr<QVIPJSONObject>& parent,
                                      QVIPJSONValueType type = QVIPJSONValueType::unspecified) {
    auto object = std::make_shared<Object>();
    object->initWithJSONObject(std::move(jsonObject), parent, type);
    return object;
  }

  // Takes the value, checks that it is of the kind asked for and starts an empty journal, without
  // the faults of an initialisation before; with `unspecified` the kind is inferred, true and false
  // then being numbers. Subclasses call this first and then read their keys. "No value at all" is
  // of no kind, `null` included.
  virtual void initWithJSONObject(std::optional<Value> jsonObject,
                                  const std::shared_ptr<QVIPJSONObject>& parent,
                                  QVIPJSONValueType type);

  // Null when the value was not of the kind asked for.
  const std::optional<Value>& jsonObject() const { return jsonObject_; }
  QVIPJSONValueType jsonType() const { return jsonType_; }
  std::shared_ptr<QVIPJSONObject> parent() const { return parent_.lock(); }

  // The name of the property that a key fills: the key without any "-", and "Value" after it.
  static std::string propertyKeyForJSONKey(std::string_view key);

  // The fault of this object itself; null for none.
  std::optional<std::string> errorDescription() const {
    const std::string* own = journal_.ownError();
    return own == nullptr ? std::nullopt : std::optional(*own);
  }
  // Deliberate: flags the parent whatever is set, so null too.
  void setErrorDescription(std::optional<std::string> text);

  // True when a fault was found in a value read by this object or anywhere below it.
  bool childObjectHasError() const { return childObjectHasError_; }
  // Deliberate: passes the same flag on to every ancestor, so that false clears them all, whatever
  // their other children say.
  void setChildObjectHasError(bool flag);

  // One entry for each read of a key, in the order of the reads.
  std::vector<QVIPJSONExtractedValue> extractedValues() const;
  std::vector<QVIPJSONExtractedValue> extractedValueDescriptors() const {
    return extractedValues();
  }
  // The keys of the value that no journal entry names, in their order; null when there is none and
  // when the value is no dictionary.
  std::optional<std::vector<std::string>> unknownJSONKeys() const;

  // The reading operations. Each appends a journal entry; a fault flags this object and its
  // ancestors; a value obtained becomes what the property of the key answers.
  //
  // Deliberate: a value is not checked here as it is at construction. The types 0, 2, 4 and 5 all
  // demand a string (arrays and objects are read with the operations below), `boolean` takes a null
  // too, and for a number that is no enumerator a key that is present is passed over without a
  // trace.
  void extractValueForKey(QVIPJSONKey key, QVIPJSONValueType type, bool required = true);
  // Deliberate: finds a fault whether the key is there or not; a caller asks only when it is.
  void extractValueForDisallowedKey(QVIPJSONKey key, QVIPJSONValueType type);
  // A child object of the class, which itself checks the kind of its value.
  template <class Object>
  void extractObjectValueForKey(QVIPJSONKey key, bool required = true) {
    extractObject(key, &makeChild<Object>, required);
  }
  // A child object of the class for each element, faulty ones included.
  template <class Object>
  void extractArrayValueForKey(QVIPJSONKey key, bool required = true) {
    extractArray(key, &makeChild<Object>, required);
  }
  // The raw value (null when the key is absent) in, the value to keep out; a text in the slot makes
  // it a fault.
  using ValueTransformer =
      std::function<std::optional<Value>(const std::optional<Value>& value, ErrorSlot)>;
  // Deliberate: an absent "value" leaves no trace, unless it is required because no "status"
  // excuses it.
  void extractValueForKey(QVIPJSONKey key, const ValueTransformer& valueTransformer);

  // What the last read of the key that obtained something obtained; null when none did.
  std::optional<Value> valueForProperty(QVIPJSONKey key) const;
  std::optional<Number> numberForProperty(QVIPJSONKey key) const;
  std::optional<std::string> stringForProperty(QVIPJSONKey key) const;
  template <class Object>
  std::shared_ptr<Object> objectForProperty(QVIPJSONKey key) const {
    return std::dynamic_pointer_cast<Object>(childForProperty(key));
  }
  template <class Object>
  std::optional<std::vector<std::shared_ptr<Object>>> arrayForProperty(QVIPJSONKey key) const {
    const QVIPJSONChildren* children = childrenForProperty(key);
    if (children == nullptr) return std::nullopt;
    std::vector<std::shared_ptr<Object>> typed;
    typed.reserve(children->size());
    for (const auto& child : *children) {
      typed.push_back(std::dynamic_pointer_cast<Object>(child));
    }
    return typed;
  }

  // What the object asks of its value, and of the value under a key that it read as a certain kind,
  // in words for a person ("one of bool, int"), for those who show a fault. By default the kind.
  virtual std::string expectation() const;
  virtual std::string expectationForKey(std::string_view key, QVIPJSONValueType type) const;
  // The definition that its value is read by; null when none is known.
  virtual std::shared_ptr<const QVXMLObject> governingDefinition() const { return nullptr; }

 protected:
  // Whether the value is a dictionary with the key.
  bool hasKey(QVIPJSONKey key) const {
    std::size_t position = 0;
    return rawNode(key, position) != nullptr;
  }
  // True in a class whose required "value" a "status" read before it excuses.
  virtual bool statusExcusesValue() const { return false; }
  // Tells how many keys the class is about to read and how many of them as child objects, which
  // saves memory and time and changes nothing else.
  void expectReads(std::size_t keys, std::size_t children);

  std::shared_ptr<QVIPJSONObject> childForProperty(QVIPJSONKey key) const;
  const QVIPJSONChildren* childrenForProperty(QVIPJSONKey key) const;

 private:
  friend class QVIPJSONTreeWalk;
  using Maker = std::shared_ptr<QVIPJSONObject> (*)(QVIPJSONArena&, Value,
                                                    const std::shared_ptr<QVIPJSONObject>&);
  template <class Object>
  static std::shared_ptr<QVIPJSONObject> makeChild(QVIPJSONArena& arena, Value value,
                                                   const std::shared_ptr<QVIPJSONObject>& parent) {
    auto object = std::allocate_shared<Object>(QVIPJSONArenaAllocator<Object>(arena));
    static_cast<QVIPJSONObject&>(*object).journal_.keepIn(arena);
    object->initWithJSONObject(std::move(value), parent, QVIPJSONValueType::unspecified);
    return object;
  }
  std::optional<Value> rawValue(QVIPJSONKey key) const;
  // The same without a handle: good while this object keeps its value; null when the key is absent.
  // Sets the position of the key.
  const Value::Node* rawNode(QVIPJSONKey key, std::size_t& position) const;
  // The last read of the key that obtained something.
  const QVIPJSONJournal::Entry* readThatFilled(QVIPJSONKey key) const;
  void extractObject(QVIPJSONKey key, Maker maker, bool required);
  void extractArray(QVIPJSONKey key, Maker maker, bool required);
  void addAbsence(QVIPJSONKey key, QVIPJSONValueType type, bool required);
  void addFault(QVIPJSONKey key, QVIPJSONValueType type, std::string text);
  void checkKind();
  void inferKind();

  std::optional<Value> jsonObject_;
  std::weak_ptr<QVIPJSONObject> parent_;
  QVIPJSONJournal journal_;
  QVIPJSONValueType jsonType_ = QVIPJSONValueType::unspecified;
  bool childObjectHasError_ = false;
};

}  // namespace qv
