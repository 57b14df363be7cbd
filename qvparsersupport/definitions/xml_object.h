#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/xml_tree.h"

namespace qv {

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
  // To be called before every write that could change what a lookup answers.
  void lookupKeyChanges() const {
    if (isIndexed_) noteLookupKeyChange();
  }
  std::string descriptionWithName(const std::optional<std::string>& name) const;
  virtual const char* className() const { return "QVXMLObject"; }

 private:
  friend class IndexedDefinitions;

  static std::shared_ptr<const XMLElement> elementOfNode(const XMLNode& node);
  static void noteLookupKeyChange();

  std::shared_ptr<const XMLElement> element_;
  bool isIndexed_ = false;
};

}  // namespace qv
