#include "qvparsersupport/common/xml_tree.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

#include "qvparsersupport/common/xml_arena.h"

namespace qv {

namespace {

constexpr std::size_t kSmallBlock = 4096;
constexpr std::size_t kLargeBlock = 1 << 18;

void appendEscaped(std::string& out, std::string_view text, bool inAttribute) {
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += inAttribute ? "&quot;" : "\"";
        break;
      default:
        if (static_cast<unsigned char>(c) < 0x20) {
          fmt::format_to(std::back_inserter(out), "&#{};", static_cast<int>(c));
        } else {
          out.push_back(c);
        }
    }
  }
}

// The reader's depth limit bounds the recursion.
void appendMarkup(std::string& out, const XMLElement& element) {
  out += '<';
  out += element.name();
  for (const XMLAttribute& attribute : element.attributes()) {
    out += ' ';
    out += attribute.name;
    out += "=\"";
    appendEscaped(out, attribute.value, true);
    out += '"';
  }
  if (element.firstChild() == nullptr) {
    out += "/>";
    return;
  }
  out += '>';
  for (const XMLNode* child = element.firstChild(); child != nullptr;
       child = child->nextSibling()) {
    if (const XMLElement* childElement = child->asElement()) {
      appendMarkup(out, *childElement);
    } else {
      appendEscaped(out, static_cast<const XMLText*>(child)->text(), false);
    }
  }
  out += "</";
  out += element.name();
  out += '>';
}

const XMLElement* firstNamed(const XMLNode* node, std::string_view name) {
  for (; node != nullptr; node = node->nextSibling()) {
    const XMLElement* element = node->asElement();
    if (element != nullptr && element->name() == name) return element;
  }
  return nullptr;
}

// Most character data of a profile is the blanks between its elements.
bool isWhiteSpace(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c == ' ' || c == '\n' || c == '\t' || c == '\r'; });
}

}  // namespace

const XMLElement* XMLNode::asElement() const {
  return kind_ == Kind::element ? static_cast<const XMLElement*>(this) : nullptr;
}

std::optional<std::string_view> XMLElement::attribute(std::string_view name) const {
  for (const XMLAttribute& attribute : attributes()) {
    if (attribute.name == name) return attribute.value;
  }
  return std::nullopt;
}

std::vector<const XMLElement*> XMLElement::childrenNamed(std::string_view name) const {
  std::vector<const XMLElement*> children;
  for (const XMLElement* child = firstChildNamed(name); child; child = child->nextNamed(name)) {
    children.push_back(child);
  }
  return children;
}

const XMLElement* XMLElement::firstChildNamed(std::string_view name) const {
  return firstNamed(firstChild_, name);
}

const XMLElement* XMLElement::nextNamed(std::string_view name) const {
  return firstNamed(next_, name);
}

XMLPosition XMLElement::position() const {
  return document_->positionOf(byteOffset_);
}

std::string XMLElement::markup() const {
  std::string out;
  appendMarkup(out, *this);
  return out;
}

std::shared_ptr<const XMLElement> XMLElement::handle() const {
  return {document_->shared_from_this(), this};
}

XMLDocument::XMLDocument(std::string name)
    : name_(std::move(name)), arena_(std::make_unique<Arena>()) {}

XMLDocument::~XMLDocument() = default;

std::shared_ptr<const XMLElement> XMLDocument::rootElement() const {
  return {shared_from_this(), root_};
}

XMLPosition XMLDocument::positionOf(std::size_t byteOffset) const {
  const auto next = std::upper_bound(lineStarts_.begin(), lineStarts_.end(), byteOffset);
  const std::size_t start = next == lineStarts_.begin() ? 0 : *std::prev(next);
  const auto line = static_cast<std::size_t>(next - lineStarts_.begin()) + 1;
  return {line, byteOffset - start + 1, byteOffset};
}

void* XMLDocument::Arena::allocate(std::size_t size, std::size_t alignment) {
  const std::size_t misaligned = reinterpret_cast<std::uintptr_t>(free_) % alignment;
  const std::size_t padding = misaligned == 0 ? 0 : alignment - misaligned;
  if (free_ == nullptr || padding + size > freeBytes_) {
    const std::size_t wanted = std::max(
        size, std::min(kLargeBlock, kSmallBlock << std::min<std::size_t>(blocks_.size(), 8)));
    blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(wanted));
    free_ = blocks_.back().get();
    freeBytes_ = wanted;
    return allocate(size, alignment);
  }
  void* result = free_ + padding;
  free_ += padding + size;
  freeBytes_ -= padding + size;
  return result;
}

std::string_view XMLDocument::Arena::copyText(std::string_view text) {
  if (text.empty()) return {};
  auto* copy = static_cast<char*>(allocate(text.size(), 1));
  std::memcpy(copy, text.data(), text.size());
  return {copy, text.size()};
}

XMLTreeBuilder::XMLTreeBuilder(std::string name)
    : document_(new XMLDocument(std::move(name))), arena_(*document_->arena_) {}

void XMLTreeBuilder::openElement(std::string_view name, std::size_t byteOffset) {
  flushText();
  void* place = arena_.allocate(sizeof(XMLElement), alignof(XMLElement));
  auto* element = new (place)
      XMLElement(document_.get(), keepName(name), static_cast<std::uint32_t>(byteOffset));
  append(element);
  open_.push_back({element, nullptr});
}

void XMLTreeBuilder::setAttributes(std::span<const XMLAttribute> attributes) {
  if (attributes.empty()) return;
  static_assert(std::is_trivially_destructible_v<XMLAttribute>);
  auto* copy =
      static_cast<XMLAttribute*>(arena_.allocate(attributes.size_bytes(), alignof(XMLAttribute)));
  std::uninitialized_copy(attributes.begin(), attributes.end(), copy);
  open_.back().element->attributes_ = copy;
  open_.back().element->attributeCount_ = static_cast<std::uint32_t>(attributes.size());
}

void XMLTreeBuilder::addText(std::string_view text) {
  pendingTextIsBlank_ = pendingTextIsBlank_ && isWhiteSpace(text);
  pendingText_.append(text);
}

void XMLTreeBuilder::closeElement() {
  flushText();
  open_.pop_back();
}

void XMLTreeBuilder::flushText() {
  if (!pendingTextIsBlank_) {
    void* place = arena_.allocate(sizeof(XMLText), alignof(XMLText));
    append(new (place) XMLText(arena_.copyText(pendingText_)));
  }
  pendingText_.clear();
  pendingTextIsBlank_ = true;
}

void XMLTreeBuilder::append(XMLNode* node) {
  if (open_.empty()) {
    document_->root_ = node->asElement();
    return;
  }
  Frame& parent = open_.back();
  if (parent.lastChild == nullptr) {
    parent.element->firstChild_ = node;
  } else {
    parent.lastChild->next_ = node;
  }
  parent.lastChild = node;
}

std::string_view XMLTreeBuilder::keepName(std::string_view name) {
  const auto first = static_cast<unsigned char>(name.empty() ? 0 : name.front());
  const auto last = static_cast<unsigned char>(name.empty() ? 0 : name.back());
  std::string_view& slot = names_[(name.size() * 31 + first * std::size_t{7} + last) % kNameSlots];
  if (slot != name) slot = arena_.copyText(name);
  return slot;
}

std::string_view XMLTreeBuilder::keepText(std::string_view text) {
  return arena_.copyText(text);
}

void XMLTreeBuilder::setLines(ByteView text) {
  std::vector<std::uint32_t>& starts = document_->lineStarts_;
  const std::string_view rest = textOf(text);
  const bool hasCarriageReturns = rest.find('\r') != std::string_view::npos;
  const char* ends = hasCarriageReturns ? "\r\n" : "\n";
  for (std::size_t at = rest.find_first_of(ends); at != std::string_view::npos;) {
    std::size_t next = at + 1;
    if (rest[at] == '\r' && next < rest.size() && rest[next] == '\n') ++next;
    starts.push_back(static_cast<std::uint32_t>(next));
    at = hasCarriageReturns ? rest.find_first_of(ends, next) : rest.find('\n', next);
  }
  starts.shrink_to_fit();
}

}  // namespace qv
