// What each definition class refuses, with the whole reason, when a host builds it from an element.

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/expectations.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using test::elementFrom;
using test::refusalOf;

template <class Definition>
std::shared_ptr<QVXMLObject> build(const std::shared_ptr<const XMLElement>& element) {
  return Definition::initWithXMLElement(element);
}

template <class Definition, class... Xml>
DefinitionList<Definition> listOf(Xml... xml) {
  return std::make_shared<std::vector<std::shared_ptr<Definition>>>(
      std::initializer_list<std::shared_ptr<Definition>>{
          Definition::initWithXMLElement(elementFrom(xml))...});
}

const std::map<std::string, decltype(&build<QVXMLObject>)> kClasses = {
    {"object", build<QVXMLObject>},
    {"value", build<QVEnumValueXMLObject>},
    {"enum", build<QVEnumXMLObject>},
    {"tlv8", build<QVTLV8XMLObject>},
    {"field", build<QVTLV8FieldXMLObject>},
    {"property", build<QVCharacteristicPropertyXMLObject>},
    {"characteristic", build<QVCharacteristicXMLObject>},
    {"service", build<QVServiceXMLObject>},
};

// A heading names the class that is built in the cases below it, and what they are about.
TEST(DefinitionRulesTest, refuse) {
  auto& table = QVSymbolTable::sharedSymbolTable();
  table.setEnums(listOf<QVEnumXMLObject>("<enum name='Small' format='uint8'><values/></enum>"));
  table.setTlv8s(listOf<QVTLV8XMLObject>("<tlv8 name='T'><fields/></tlv8>"));
  table.setCharacteristics(
      listOf<QVCharacteristicXMLObject>("<characteristic name='On'><ip/></characteristic>",
                                        "<characteristic name='Off'><btle/></characteristic>"));
  std::string subject;
  test::expectAnswers("rules/definitions.txt", [&](const test::Case& input) -> std::string {
    if (input[0].starts_with("== ")) {
      subject = input[0].substr(3, input[0].rfind(' ') - 3);
      return "";
    }
    const auto element = elementFrom(input.at(0));
    try {
      EXPECT_EQ(kClasses.at(subject)(element)->element(), element);
    } catch (const QVLoadAssertion& assertion) {
      EXPECT_STREQ(assertion.name(), "com.corvid.BRLoadAssert");
      EXPECT_EQ(assertion.userInfo(), Value::dictionary({}));
      EXPECT_NE(assertion.element(), nullptr) << input[0];
      return assertion.reason();
    }
    return "accepted";
  });
  table._reset();
}

TEST(XMLObjectTest, hostMistakesAreRefusedTheSameWay) {
  const auto root = elementFrom("<value>text</value>");
  EXPECT_EQ(refusalOf([&] { QVXMLObject::objectWithNode<QVXMLObject>(*root->firstChild()); }),
            "node must be of type XMLElement");
  EXPECT_EQ(refusalOf([&] { QVXMLObject::objectWithNode<QVEnumValueXMLObject>(*root); }),
            "'value' not found on element <value>text</value>");
  EXPECT_EQ(QVXMLObject::objectWithNode<QVXMLObject>(*root)->element(), root);
  EXPECT_EQ(refusalOf([] { build<QVEnumXMLObject>(nullptr); }),
            "Non-enum element found in enum list");
  EXPECT_EQ(refusalOf([] { build<QVTLV8FieldXMLObject>(nullptr); }), "Type must be 1 hex byte");
  EXPECT_EQ(refusalOf([] { build<QVServiceXMLObject>(nullptr); }),
            "'name' not found on element (null)");
}

TEST(XMLObjectTest, valuesOfTags) {
  const std::string markup =
      R"(<a><t x="1"/><t y="Two "/><b><u x="3"/></b><d x="1"/><d x="1"/></a>)";
  const auto object = QVXMLObject::initWithXMLElement(elementFrom(markup));
  const auto refusal = [&](const char* tag, const char* attribute) {
    return refusalOf([&] { object->valueOfTag(tag, attribute); });
  };
  EXPECT_EQ(object->valueOfTag("t", "x"), "1");
  EXPECT_EQ(object->valueOfTag("t", "y"), "Two ");
  EXPECT_EQ(object->optionalValueOfTag("u", "x"), std::nullopt);
  EXPECT_EQ(refusal("u", "x"), "Must have attribute 'x' for 'u' element " + markup);
  EXPECT_EQ(refusal("d", "x"),
            "Duplicate definition of element 'd''s attribute 'x' on element " + markup);
}

}  // namespace
}  // namespace qv
