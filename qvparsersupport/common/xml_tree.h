#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

class XMLDocument;
class XMLElement;

// Where something stands in a document: line and column from 1, the column in bytes, and the byte
// offset from 0.
struct XMLPosition {
  std::size_t line = 0;
  std::size_t column = 0;
  std::size_t byteOffset = 0;
};

// A node of the tree: an element, or a run of character data that is not only white space. Nodes
// live in their document and are never made singly; a handle to one keeps the whole document alive.
class QV_EXPORT XMLNode {
 public:
  enum class Kind : std::uint8_t { element, text };

  Kind kind() const { return kind_; }
  // This node as an element; null for text.
  const XMLElement* asElement() const;
  const XMLNode* nextSibling() const { return next_; }

 protected:
  friend class XMLTreeBuilder;
  explicit XMLNode(Kind kind) : kind_(kind) {}

  Kind kind_;
  const XMLNode* next_ = nullptr;
};

class QV_EXPORT XMLText : public XMLNode {
 public:
  std::string_view text() const { return text_; }

 private:
  friend class XMLTreeBuilder;
  explicit XMLText(std::string_view text) : XMLNode(Kind::text), text_(text) {}
  std::string_view text_;
};

struct XMLAttribute {
  std::string_view name;   // the local name, without a namespace prefix
  std::string_view value;  // as the XML rules normalise it, entities resolved
};

class QV_EXPORT XMLElement : public XMLNode {
 public:
  // The local name, without a namespace prefix.
  std::string_view name() const { return name_; }

  // In document order. Namespace declarations are no attributes.
  std::span<const XMLAttribute> attributes() const { return {attributes_, attributeCount_}; }
  // The value of the first attribute with that local name; null when there is none.
  std::optional<std::string_view> attribute(std::string_view name) const;

  const XMLNode* firstChild() const { return firstChild_; }
  // The direct child elements with that name, in document order.
  std::vector<const XMLElement*> childrenNamed(std::string_view name) const;
  // The next sibling element (this one included when `self` is true) with that name; null at the
  // end. Walks children without making a list: `e->firstChildNamed(n)`, then `c->nextNamed(n)`.
  const XMLElement* firstChildNamed(std::string_view name) const;
  const XMLElement* nextNamed(std::string_view name) const;

  const XMLDocument& document() const { return *document_; }
  // Of the "<" that opens the element.
  XMLPosition position() const;
  std::size_t byteOffset() const { return byteOffset_; }

  // The element as markup on one line, with its attributes, children and text; what messages print
  // for an element.
  std::string markup() const;

  // A handle that keeps the document alive.
  std::shared_ptr<const XMLElement> handle() const;

 private:
  friend class XMLTreeBuilder;
  XMLElement(const XMLDocument* document, std::string_view name, std::uint32_t byteOffset)
      : XMLNode(Kind::element), byteOffset_(byteOffset), name_(name), document_(document) {}

  std::uint32_t byteOffset_;
  std::uint32_t attributeCount_ = 0;
  std::string_view name_;
  const XMLDocument* document_;
  const XMLAttribute* attributes_ = nullptr;
  const XMLNode* firstChild_ = nullptr;
};

// A parsed document: a root element, a name for messages, and the line table. Immutable once read.
// Made by `parseXML` (xml_reader.h).
class QV_EXPORT XMLDocument : public std::enable_shared_from_this<XMLDocument> {
 public:
  ~XMLDocument();
  XMLDocument(const XMLDocument&) = delete;
  XMLDocument& operator=(const XMLDocument&) = delete;

  // What the host called it when it was parsed, a file name for one.
  const std::string& name() const { return name_; }
  // Never null in a document that was read without a fault.
  std::shared_ptr<const XMLElement> rootElement() const;
  XMLPosition positionOf(std::size_t byteOffset) const;

 private:
  friend class XMLTreeBuilder;
  class Arena;
  explicit XMLDocument(std::string name);

  std::string name_;
  std::unique_ptr<Arena> arena_;
  const XMLElement* root_ = nullptr;
  std::vector<std::uint32_t> lineStarts_;  // byte offset of the start of lines 2, 3, ...
};

}  // namespace qv
