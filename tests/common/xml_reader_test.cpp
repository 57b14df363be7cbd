#include "qvparsersupport/common/xml_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

std::string nested(std::size_t depth) {
  std::string text;
  for (std::size_t i = 0; i < depth; ++i) text += "<a>";
  for (std::size_t i = 0; i < depth; ++i) text += "</a>";
  return text;
}

TEST(XMLReader, refusesWithTextAndPlace) {
  struct Row {
    std::string text;
    const char* error;
    std::size_t line, column;
  } const rows[] = {
      {"", "no element found", 1, 1},
      {"<a>\n<b></a>", "mismatched tag", 2, 6},
      {"<a>\r\n  <b x='1' x='2'/></a>", "duplicate attribute", 2, 12},
      {"<a/>\n<b/>", "junk after document element", 2, 1},
      {"<!DOCTYPE a [<!ENTITY x 'y'>]><a/>", "a DOCTYPE is not accepted", 1, 1},
      {"<a>&unknown;</a>", "undefined entity", 1, 4},
      {"<p:a/>", "unbound prefix", 1, 1},
      {"<a>\xFF</a>", "not well-formed (invalid token)", 1, 4},
      {nested(257), "elements are nested deeper than 256 levels", 1, 769},
      {std::string("\xFF\xFE<\0a\0", 6), "the document is UTF-16; UTF-8 is expected", 1, 1},
  };
  for (const Row& row : rows) {
    const XMLParseResult result = parseXML(bytesOf(row.text), "t.xml");
    EXPECT_EQ(result.document, nullptr) << row.text;
    EXPECT_EQ(result.error, row.error) << row.text;
    EXPECT_EQ(result.position.line, row.line) << row.text;
    EXPECT_EQ(result.position.column, row.column) << row.text;
  }
  EXPECT_NE(parseXML(bytesOf(nested(256)), "deep").document, nullptr);
}

TEST(XMLReader, keepsNamesAttributesTextAndPlaces) {
  const auto document = test::documentFrom(
      "<?xml version=\"1.0\"?>\n<!-- c -->\n<root xmlns:q=\"urn:x\">\n"
      "  <q:item q:name=\"a&amp;b\" other='&lt;\"'/>\n  some <b/> text<![CDATA[<&]]>\n</root>\n",
      "profile.xml");
  const auto root = document->rootElement();
  EXPECT_EQ(root->attributes().size(), 0U);  // a namespace declaration is no attribute
  const XMLElement* item = root->firstChildNamed("item");
  ASSERT_NE(item, nullptr);
  EXPECT_EQ(item->attribute("name"), "a&b");
  EXPECT_EQ(item->attribute("missing"), std::nullopt);
  EXPECT_EQ(item->position().line, 4U);
  EXPECT_EQ(item->position().column, 3U);
  EXPECT_EQ(item->position().byteOffset, 58U);
  EXPECT_EQ(item->document().name(), "profile.xml");
  EXPECT_EQ(root->markup(),
            "<root><item name=\"a&amp;b\" other=\"&lt;&quot;\"/>&#10;  some <b/> "
            "text&lt;&amp;&#10;</root>");
}

TEST(XMLReader, findsChildrenByNameInOrder) {
  const auto root = test::elementFrom("<r><a n='1'/><b><a n='x'/></b>t<a n='2'/></r>");
  std::string found;
  for (const XMLElement* child : root->childrenNamed("a")) found += *child->attribute("n");
  EXPECT_EQ(found, "12");
  EXPECT_EQ(root->firstChildNamed("c"), nullptr);
}

TEST(XMLReader, aHandleKeepsTheDocument) {
  std::shared_ptr<const XMLElement> element;
  {
    const auto root = test::elementFrom("<r><a name='kept'/></r>");
    element = root->firstChildNamed("a")->handle();
  }
  EXPECT_EQ(element->markup(), "<a name=\"kept\"/>");
  EXPECT_EQ(element->document().rootElement()->name(), "r");
}

TEST(XMLReader, survivesEveryCut) {
  const std::string text =
      "<?xml version='1.0' encoding='UTF-8'?><r xmlns='u'><a b='\xC3\xA9&#65;'>t</a><!--x--></r>";
  for (std::size_t cut = 0; cut < text.size(); ++cut) {
    const std::vector<std::uint8_t> exact(text.begin(),
                                          text.begin() + static_cast<std::ptrdiff_t>(cut));
    const XMLParseResult result = parseXML(exact, "cut");
    EXPECT_EQ(result.document, nullptr) << cut;
    EXPECT_FALSE(result.error.empty()) << cut;
  }
}

}  // namespace
}  // namespace qv
