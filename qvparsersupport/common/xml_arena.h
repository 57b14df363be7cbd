#pragma once

// The memory of one XML document. Internal to the tree and its reader.

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/xml_tree.h"

namespace qv {

class XMLDocument::Arena {
 public:
  void* allocate(std::size_t size, std::size_t alignment);
  std::string_view copyText(std::string_view text);

 private:
  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::byte* free_ = nullptr;
  std::size_t freeBytes_ = 0;
};

// Builds the tree of one document from the events of a parser, in document order.
class XMLTreeBuilder {
 public:
  explicit XMLTreeBuilder(std::string name);

  std::size_t depth() const { return open_.size(); }
  void openElement(std::string_view name, std::size_t byteOffset);
  // Attributes of the element just opened; their strings come from keepName and keepText.
  void setAttributes(std::span<const XMLAttribute> attributes);
  void addText(std::string_view text);
  void closeElement();
  // Strings for names are kept once as long as they stay in a small cache, values always anew.
  std::string_view keepName(std::string_view name);
  std::string_view keepText(std::string_view text);
  // Notes where lines begin; the offsets of elements are read against this.
  void setLines(ByteView text);
  std::shared_ptr<const XMLDocument> take() { return std::move(document_); }
  XMLPosition positionOf(std::size_t byteOffset) const { return document_->positionOf(byteOffset); }

 private:
  struct Frame {
    XMLElement* element;
    XMLNode* lastChild;
  };
  void append(XMLNode* node);
  void flushText();

  std::shared_ptr<XMLDocument> document_;
  XMLDocument::Arena& arena_;
  std::vector<Frame> open_;
  std::string pendingText_;
  bool pendingTextIsBlank_ = true;
  static constexpr std::size_t kNameSlots = 64;
  std::string_view names_[kNameSlots];
};

}  // namespace qv
