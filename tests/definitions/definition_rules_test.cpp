// What each definition class refuses, with the whole reason, when a host builds it from an element.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using test::elementFrom;

struct Row {
  std::string xml;
  std::string reason;  // "accepted" when nothing is raised
};

class DefinitionRulesTest : public ::testing::Test {
 protected:
  void SetUp() override {
    table.setEnums(std::make_shared<std::vector<std::shared_ptr<QVEnumXMLObject>>>(
        1, QVEnumXMLObject::initWithXMLElement(
               elementFrom("<enum name='Small' format='uint8'><values/></enum>"))));
    table.setTlv8s(std::make_shared<std::vector<std::shared_ptr<QVTLV8XMLObject>>>(
        1, QVTLV8XMLObject::initWithXMLElement(elementFrom("<tlv8 name='T'><fields/></tlv8>"))));
  }
  void TearDown() override { table._reset(); }

  template <class Definition>
  void check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      const auto element = elementFrom(row.xml);
      std::string reason = "accepted";
      try {
        EXPECT_EQ(Definition::initWithXMLElement(element)->element(), element);
      } catch (const QVLoadAssertion& assertion) {
        reason = assertion.reason();
        EXPECT_STREQ(assertion.name(), "com.corvid.BRLoadAssert");
        EXPECT_EQ(assertion.userInfo(), Value::dictionary({}));
        EXPECT_NE(assertion.element(), nullptr) << row.xml;
      }
      EXPECT_EQ(reason, row.reason) << row.xml;
    }
  }

  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
};

TEST_F(DefinitionRulesTest, base) {
  check<QVXMLObject>({
      {"<any><child key='1'/></any>", "accepted"},
      {"<any xmlns='urn:a' xmlns:b='urn:b'/>", "accepted"},
      {"<any first='1' second='2'/>", "Unknown attribute first provided to any"},
      {"<p:any xmlns:p='urn:p' p:first='1'/>", "Unknown attribute first provided to any"},
  });
}

TEST_F(DefinitionRulesTest, enumValue) {
  check<QVEnumValueXMLObject>({
      {"<value value='' symbol=''/>", "accepted"},
      {"<value x:value='1' x:symbol='A' xmlns:x='urn:x'/>", "accepted"},
      {"<value Value='1'/>", "Unknown attribute Value provided to value"},
      {"<values value='1' symbol='A'/>", "Non-value found in enum definition"},
      {"<value symbol='A'/>", "'value' not found on element <value symbol=\"A\"/>"},
      {"<value value='1'/>", "'symbol' not found on element <value value=\"1\"/>"},
  });
}

TEST_F(DefinitionRulesTest, enums) {
  const std::string one = "There must be exactly 1 values element in an enum";
  check<QVEnumXMLObject>({
      {"<enum name='E' format='dict'><values/></enum>", "accepted"},
      {"<enum name='E' format='int' bitmask='No'><other/><values><other/></values></enum>",
       "accepted"},
      {"<Enum name='E' format='int'/>", "Non-enum element found in enum list"},
      {"<enum format='int'/>", "'name' not found on element <enum format=\"int\"/>"},
      {"<enum name='E'/>", "Format string required for enum"},
      {"<enum name='E' format='Int'/>", "Must have valid value format, saw 'Int'"},
      {"<enum name='E' format='' bitmask='x'/>", "Must have valid value format, saw ''"},
      {"<enum name='E' format='int' bitmask='true'/>", "isBitmask must be YES or NO"},
      {"<enum name='E' format='int' bitmask=''/>", "isBitmask must be YES or NO"},
      {"<enum name='E' format='int'/>", one},
      {"<enum name='E' format='int'><values/><values/></enum>", one},
      {"<enum name='E' format='int'><values><value value='1'/></values></enum>",
       "'symbol' not found on element <value value=\"1\"/>"},
  });
}

TEST_F(DefinitionRulesTest, tlv8) {
  const std::string one = "There must be exactly 1 fields element in a TLV8";
  check<QVTLV8XMLObject>({
      {"<anything name='T'><fields><other/></fields></anything>", "accepted"},
      {"<tlv8><fields/></tlv8>", "'name' not found on element <tlv8><fields/></tlv8>"},
      {"<tlv8 name='T'/>", one},
      {"<tlv8 name='T'><fields/><fields/></tlv8>", one},
      {"<tlv8 name='T' type='1'/>", "Unknown attribute type provided to tlv8"},
      {"<tlv8 name='T'><fields><field/></fields></tlv8>", "Type must be 1 hex byte"},
  });
}

TEST_F(DefinitionRulesTest, field) {
  const auto field = [](const std::string& rest) {
    return "<field type='0x01' name='F' format=" + rest + "/>";
  };
  check<QVTLV8FieldXMLObject>({
      {"<field name='F'/>", "Type must be 1 hex byte"},
      {"<field type='10'/>", "Type must be 1 hex byte"},
      {"<field type='0X0A'/>", "Type must be 1 hex byte"},
      {"<field type=' 0x0A'/>", "Type must be 1 hex byte"},
      {"<field type='0x'/>", "Failed to read hex int"},
      {"<field type='0xZZ'/>", "Failed to read hex int"},
      {"<field type='0x100'/>", "Type must only be 1 byte"},
      {"<field type='0x100000001'/>", "Type must only be 1 byte"},
      {"<field type='0x01'/>", "'name' not found on element <field type=\"0x01\"/>"},
      {"<field type='0x01' name='F'/>", "Enum field must have a format string"},
      {field("'none'"), "Must have valid value format, saw 'none'"},
      {field("'data' maximumLength='-1'"), "maximumLength must be an integer"},
      {field("'data' maximumLength='6 4'"), "maximumLength must be an integer"},
      {field("'data' maximumLength=''"), "accepted"},
      {field("'uint8' enum='Small'"), "accepted"},
      {field("'uint8' enum='small'"), "Must have an enum for F if enum name is specified"},
      {field("'uint16' enum='Small'"), "Enum type must equal tlv8 type for F"},
      {field("'tlv8'"), "accepted"},
      {field("'tlv8' tlv8='T'"), "accepted"},
      {field("'tlv8' tlv8='U'"), "Must have an tlv8 for F if tlv8 name is specified"},
      {field("'uint8' tlv8='U'"),
       "Only TLV8 formatted characteristics should have a TLV8 definition"},
      {field("'uint8' unit='x'"), "Unknown attribute unit provided to field"},
  });
}

TEST_F(DefinitionRulesTest, property) {
  check<QVCharacteristicPropertyXMLObject>({
      {"<property name='pr'/>", "accepted"},
      {"<property/>", "'name' not found on element <property/>"},
      {"<property name='PR'/>", "Must have valid property type (saw PR)"},
      {"<property type='pr'/>", "Unknown attribute type provided to property"},
  });
}

TEST_F(DefinitionRulesTest, characteristic) {
  const auto with = [](const std::string& children) {
    return "<characteristic name='C'>" + children + "</characteristic>";
  };
  const auto format = [&](const std::string& name, const std::string& children) {
    return with("<format name='" + name + "'/>" + children);
  };
  const std::string minRule = "minValue is only applicable to float and int types";
  const std::string maxRule = "maxValue is only applicable to float and int types";
  const std::string stepRule = "step is only applicable to float and int types";
  const std::string tlv8Rule = "Only TLV8 formatted characteristics should have a TLV8 definition";
  check<QVCharacteristicXMLObject>({
      {with(""), "accepted"},
      {"<characteristic/>", "'name' not found on element <characteristic/>"},
      {"<characteristic name='C' uuid='1'/>", "Unknown attribute uuid provided to characteristic"},
      {with("<type uti='a'/><type uuid='b'/>"), "accepted"},
      {with("<type uti='a'/><type uti='a'/>"),
       "Duplicate definition of element 'type''s attribute 'uti' on element "
       "<characteristic name=\"C\"><type uti=\"a\"/><type uti=\"a\"/></characteristic>"},
      {format("Bool", ""), "Must have valid value format, saw 'Bool'"},
      {with("<minValue value=''/>"), "minValue must not be empty string"},
      {with("<minValue value='1'/>"), minRule},
      {format("bool", "<minValue value='1'/>"), minRule},
      {format("string", "<minValue value='1'/>"), minRule},
      {format("uint64", "<minValue value='x'/><maxValue value='1'/>"), "accepted"},
      {format("float", "<maxValue value=''/>"), "maxValue must not be empty string"},
      {format("data", "<maxValue value='1'/>"), maxRule},
      {format("int", "<step value=''/>"), "Step must not be empty string"},
      {format("float", "<step value='1'/>"), "accepted"},
      {format("uint8", "<step value='1'/>"), stepRule},
      {format("uint64", "<step value='1'/>"), stepRule},
      {with("<step value='1'/>"), stepRule},
      {with("<format maximumLength='1.5'/>"), "maximumLength must be an integer"},
      {with("<format maximumLength=''/>"), "accepted"},
      {with("<format name='uint8' enum='Small'/>"), "accepted"},
      {with("<format name='uint8' enum='Big'/>"),
       "Must have an enum for C if enum name is specified"},
      {with("<format name='uint16' enum='Small'/>"),
       "Enum type must equal characteristic type for C (3 vs 4)"},
      {with("<format enum='Small'/>"), "Enum type must equal characteristic type for C (3 vs 0)"},
      {with("<format name='tlv8' tlv8='T'/>"), "accepted"},
      {with("<format name='data' tlv8='U'/>"), tlv8Rule},
      {with("<format name='tlv8' tlv8='U'/>"), "Must have an tlv8 for C if tlv8 name is specified"},
      {format("tlv8", ""), "TLV8 formatted characteristics must have a tlv8 definition: (null)"},
      {format("tlv8", "<type uuid='AB'/>"),
       "TLV8 formatted characteristics must have a tlv8 definition: ab"},
      {with("<properties/><properties/>"),
       "There must be exactly 1 properties element in a characteristic"},
      {with("<properties><property name='xx'/></properties>"),
       "Must have valid property type (saw xx)"},
      {with("<ip/><btle/>"), "accepted"},
      {with("<ip/><ip/>"), "Must only have 1 ip element"},
      {with("<btle/><btle/><ip/>"), "Must only have 1 btle element"},
      {with("<ip><format name='x'/></ip><btle/><btle/>"), "Must have valid value format, saw 'x'"},
      {with("<ip><ip/><ip/></ip>"), "accepted"},  // an instance reads no instances of its own
      {with("<ip><format name='uint16' enum='Small'/></ip>"),
       "Enum type must equal characteristic type for C (3 vs 4)"},
      {format("uint8", "<btle><step value='1'/></btle>"), stepRule},
      {with("<ip><format name='tlv8'/></ip>"),
       "TLV8 formatted characteristics must have a tlv8 definition: (null)"},
      {with("<format name='tlv8' tlv8='T'/><ip><format name='tlv8'/></ip>"), "accepted"},
  });
}

TEST_F(DefinitionRulesTest, service) {
  const auto with = [](const std::string& children) {
    return "<service name='S'>" + children + "</service>";
  };
  const auto characteristic = QVCharacteristicXMLObject::initWithXMLElement(
      elementFrom("<characteristic name='On'><ip/></characteristic>"));
  const auto other = QVCharacteristicXMLObject::initWithXMLElement(
      elementFrom("<characteristic name='Off'><btle/></characteristic>"));
  using Characteristics = std::vector<std::shared_ptr<QVCharacteristicXMLObject>>;
  table.setCharacteristics(
      std::make_shared<Characteristics>(Characteristics{characteristic, other}));
  check<QVServiceXMLObject>({
      {with(""), "accepted"},
      {"<service/>", "'name' not found on element <service/>"},
      {"<service name='S' ref='x'/>", "Unknown attribute ref provided to service"},
      {with("<required/><optional/>"), "accepted"},
      {with("<required/><required/>"), "There must be exactly 1 required element in a service"},
      {with("<optional/><optional/>"), "There must be exactly 1 optional element in a service"},
      {with("<required><characteristic ref='on'/></required>"),
       "Invalid transport 0 for service 'S'"},
      {with("<ip><required><characteristic ref='ON'/><other/></required></ip>"), "accepted"},
      {with("<ip><required><characteristic ref='off'/></required></ip>"), "Must have IP instance"},
      {with("<btle><optional><characteristic ref='on'/></optional></btle>"),
       "Must have BLE instance"},
      {with("<ip><required><characteristic ref='Gone'/></required></ip>"),
       "Failed to resolve reference to gone"},
      {with("<ip><required><characteristic/></required></ip>"),
       "'ref' not found on element <characteristic/>"},
      {with("<ip><required><characteristic name='on'/></required></ip>"),
       "Unknown attribute name provided to characteristic"},
      {with("<ip/><ip/>"), "Must only have 1 ip element"},
      {with("<btle/><btle/>"), "Must only have 1 btle element"},
      {with("<type uuid='1'/><type uuid='1'/>"),
       "Duplicate definition of element 'type''s attribute 'uuid' on element "
       "<service name=\"S\"><type uuid=\"1\"/><type uuid=\"1\"/></service>"},
  });
}

TEST_F(DefinitionRulesTest, hostMistakesAreRefusedTheSameWay) {
  const auto reason = [](auto build) -> std::string {
    try {
      build();
      return "accepted";
    } catch (const QVLoadAssertion& assertion) {
      return assertion.reason();
    }
  };
  const auto root = elementFrom("<value>text</value>");
  EXPECT_EQ(reason([&] { QVXMLObject::objectWithNode<QVXMLObject>(*root->firstChild()); }),
            "node must be of type XMLElement");
  EXPECT_EQ(reason([&] { QVXMLObject::objectWithNode<QVEnumValueXMLObject>(*root); }),
            "'value' not found on element <value>text</value>");
  EXPECT_EQ(QVXMLObject::objectWithNode<QVXMLObject>(*root)->element(), root);
  EXPECT_EQ(reason([] { QVEnumXMLObject::initWithXMLElement(nullptr); }),
            "Non-enum element found in enum list");
  EXPECT_EQ(reason([] { QVTLV8FieldXMLObject::initWithXMLElement(nullptr); }),
            "Type must be 1 hex byte");
  EXPECT_EQ(reason([] { QVServiceXMLObject::initWithXMLElement(nullptr); }),
            "'name' not found on element (null)");
}

TEST(XMLObjectTest, valuesOfTags) {
  const auto object = QVXMLObject::initWithXMLElement(
      elementFrom("<a><t x='1'/><t y='Two '/><b><u x='3'/></b><d x='1'/><d x='1'/></a>"));
  const auto answer = [&](const char* tag, const char* attribute) -> std::string {
    try {
      return std::string(object->valueOfTag(tag, attribute));
    } catch (const QVLoadAssertion& assertion) {
      return assertion.reason();
    }
  };
  const std::string markup =
      R"(<a><t x="1"/><t y="Two "/><b><u x="3"/></b><d x="1"/><d x="1"/></a>)";
  EXPECT_EQ(answer("t", "x"), "1");
  EXPECT_EQ(answer("t", "y"), "Two ");
  EXPECT_EQ(object->optionalValueOfTag("u", "x"), std::nullopt);
  EXPECT_EQ(answer("u", "x"), "Must have attribute 'x' for 'u' element " + markup);
  EXPECT_EQ(answer("t", "z"), "Must have attribute 'z' for 't' element " + markup);
  EXPECT_EQ(answer("d", "x"),
            "Duplicate definition of element 'd''s attribute 'x' on element " + markup);
}

}  // namespace
}  // namespace qv
