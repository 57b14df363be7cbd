#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/common/xml_tree.h"
#include "qvparsersupport/definitions/definition_list.h"

namespace qv {

class ArchivedDictionary;
class ArchiveWriter;
struct TaggedChildren;

// Base of every definition that is read from a profile element: keeps the element, refuses
// attributes that the class does not know, and reads attributes of child elements. Every failure is
// raised as the load-assertion error, which the symbol table's loader turns into an error
// description.
//
// A definition is read by its own `initWithXMLElement`, a static factory in each class that first
// runs `initWithElement` and then reads attributes and children. Definitions are built on the
// thread that loads the table and are only read afterwards.
class QV_EXPORT QVXMLObject {
 public:
  QVXMLObject() = default;
  QVXMLObject(const QVXMLObject&) = delete;
  QVXMLObject& operator=(const QVXMLObject&) = delete;
  virtual ~QVXMLObject() = default;

  static std::shared_ptr<QVXMLObject> initWithXMLElement(std::shared_ptr<const XMLElement> element);
  // A new definition of class `Definition` made from the node, which must be an element.
  template <class Definition>
  static std::shared_ptr<Definition> objectWithNode(const XMLNode& node) {
    return Definition::initWithXMLElement(elementOfNode(node));
  }

  // The attribute names that the class accepts on its own element. The base accepts none; a class
  // lists its base's keys and then its own.
  virtual std::span<const std::string_view> allowedAttributeKeys() const { return {}; }

  // The element that this was read from; null for a definition made without a document. The handle
  // keeps the whole document alive.
  const std::shared_ptr<const XMLElement>& element() const { return element_; }
  void setElement(std::shared_ptr<const XMLElement> element) { element_ = std::move(element); }

  // The value of the attribute on the one child element named `tag` that carries it, as written.
  // `optionalValueOfTag` answers null when no child carries it; `valueOfTag` raises. Both raise
  // when two children carry it. Views stay valid as long as the document.
  std::string_view valueOfTag(std::string_view tag, std::string_view attribute) const;
  std::optional<std::string_view> optionalValueOfTag(std::string_view tag,
                                                     std::string_view attribute) const;

  // Everything that the definition says, as plain dictionaries, arrays, texts and numbers; what is
  // null leaves no key.
  Value archiveRepresentation() const;
  // A definition made from such a representation by the class on which this is called. Nothing is
  // checked: a key that is missing or holds another kind of value reads as null, 0 or an empty
  // list. References are looked up in the shared symbol table, whose lookups, the picking of
  // instances by services and nesting beyond 64 levels raise the load-assertion error.
  static std::shared_ptr<QVXMLObject> initWithArchivedRepresentation(const Value& representation);

  // The representations of a list, in order; of a null list, none.
  template <class Definition>
  static Value archiveArray(const DefinitionList<Definition>& list) {
    std::vector<const QVXMLObject*> definitions;
    if (list != nullptr) {
      for (const auto& each : *list) {
        if (each != nullptr) definitions.push_back(each.get());
      }
    }
    return archiveDefinitions(definitions);
  }
  static Value archiveArray(std::nullptr_t) { return archiveDefinitions({}); }
  // A definition of class `Definition` for each element, in order; none for no array.
  template <class Definition>
  static DefinitionList<Definition> loadArchivedArray(const std::optional<Value>& array) {
    auto list = std::make_shared<std::vector<std::shared_ptr<Definition>>>();
    const std::size_t count = array && array->isArray() ? array->count() : 0;
    for (std::size_t i = 0; i < count; ++i) {
      list->push_back(Definition::initWithArchivedRepresentation(array->at(i)));
    }
    return list;
  }

  // Class name and identity; classes with a name append " => " and the name.
  virtual std::string description() const;

 protected:
  // Stores the element and raises for the first attribute, in document order, that is not allowed.
  void initWithElement(std::shared_ptr<const XMLElement> element);
  // The attribute of this definition's own element, or the load-assertion error that it is missing.
  std::string_view requiredAttribute(std::string_view attribute) const;
  // What `optionalValueOfTag` answers, over children that are found already.
  std::optional<std::string_view> valueAmong(const TaggedChildren& children,
                                             std::string_view attribute) const;
  // A handle to an element of this definition's document.
  std::shared_ptr<const XMLElement> handleTo(const XMLElement* element) const {
    return {element_, element};
  }
  // The definition's element as markup.
  std::string elementText() const;
  // Raises with the definition's element as the place to look at.
  [[noreturn]] void raise(std::string reason, SourceOrigin origin = SourceOrigin::here()) const;
  // Raises with a child of it as the place to look at; with the element itself for null.
  [[noreturn]] void raise(std::string reason, const XMLElement* child,
                          SourceOrigin origin = SourceOrigin::here()) const;
  // To be called before every write that could change what a lookup answers.
  void lookupKeyChanges() const {
    if (isIndexed_) noteLookupKeyChange();
  }
  std::string descriptionWithName(const std::optional<std::string>& name) const;
  virtual const char* className() const { return "QVXMLObject"; }
  // The class's part in archiving. Both handle the class's keys in the same order.
  virtual Value::Node archived(ArchiveWriter& out) const;
  virtual void restore(ArchivedDictionary& from);

 private:
  friend class DefinitionArchive;
  friend class IndexedDefinitions;

  static Value archiveDefinitions(std::span<const QVXMLObject* const> definitions);
  static std::shared_ptr<const XMLElement> elementOfNode(const XMLNode& node);
  static void noteLookupKeyChange();

  std::shared_ptr<const XMLElement> element_;
  bool isIndexed_ = false;
};

}  // namespace qv
