// Reads the input as XML. The markup of an accepted root reads back to the same markup, and every
// position lies in the text, on the line and in the column that counting gives.

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/fuzz.h"
#include "qvparsersupport/common/xml_reader.h"

namespace {

using namespace qv;
using fuzz::expect;

void checkPosition(std::string_view text, const XMLPosition& position) {
  expect(position.byteOffset <= text.size(), "the place is in the text");
  std::size_t line = 1;
  std::size_t start = 0;
  for (std::size_t at = 0; at < position.byteOffset; ++at) {
    const bool ends = text[at] == '\n' || (text[at] == '\r' && text.substr(at, 2) != "\r\n");
    if (!ends) continue;
    ++line;
    start = at + 1;
  }
  expect(position.line == line, "the line");
  expect(position.column == position.byteOffset - start + 1, "the column");
}

// Every element, a parent before its children.
std::vector<const XMLElement*> elementsOf(const XMLElement& root) {
  std::vector<const XMLElement*> elements{&root};
  for (std::size_t index = 0; index < elements.size(); ++index) {
    for (const XMLNode* child = elements[index]->firstChild(); child;
         child = child->nextSibling()) {
      if (child->asElement() != nullptr) elements.push_back(child->asElement());
    }
  }
  return elements;
}

// Markup shows local names, so that attributes told apart by their prefix alone collide in it, and
// one called xmlns turns into a declaration.
bool markupReadsBack(const XMLElement& element) {
  std::vector<std::string_view> names;
  for (const XMLAttribute& attribute : element.attributes()) names.push_back(attribute.name);
  std::sort(names.begin(), names.end());
  return std::adjacent_find(names.begin(), names.end()) == names.end() &&
         !std::binary_search(names.begin(), names.end(), "xmlns");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const XMLParseResult result = parseXML({data, size}, "input.xml");
  expect((result.document == nullptr) == !result.error.empty(), "a document or a text");
  if (result.document == nullptr) {
    checkPosition(text, result.position);
    return 0;
  }
  const auto root = result.document->rootElement();
  const auto elements = elementsOf(*root);
  for (const XMLElement* element : elements) {
    checkPosition(text, element->position());
    expect(text.substr(element->byteOffset(), 1) == "<", "an element begins with <");
  }
  if (!std::all_of(elements.begin(), elements.end(),
                   [](const XMLElement* element) { return markupReadsBack(*element); })) {
    return 0;
  }
  std::string markup = root->markup();
  const XMLParseResult again = parseXML(bytesOf(markup), "markup");
  expect(again.document != nullptr, "markup is accepted");
  if (fuzz::planted(elements.size() == 3 && elements[2]->attributes().size() == 2)) markup += ' ';
  expect(again.document->rootElement()->markup() == markup, "markup reads back to itself");
  return 0;
}
