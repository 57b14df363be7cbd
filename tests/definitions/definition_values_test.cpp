// What definitions answer once they are read.

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/vocabulary/types.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using test::elementFrom;

std::shared_ptr<QVEnumXMLObject> enumOf(const std::string& attributes,
                                        std::initializer_list<const char*> values) {
  std::string xml = "<enum name='E' " + attributes + "><values>";
  for (const std::string value : values) {
    xml += "<value symbol='s" + value + "' value='" + value + "'/>";
  }
  return QVEnumXMLObject::initWithXMLElement(elementFrom(xml + "</values></enum>"));
}

TEST(EnumTest, representations) {
  const auto bits = [](int bit) { return Value(Number::uint64(std::uint64_t{1} << bit)); };
  const auto integer = [](std::int64_t number) { return Value(Number::int64(number)); };
  const struct {
    const char* attributes;
    const char* text;
    std::optional<Value> representation;
    char kind;
  } rows[] = {
      {"format='bool'", "yes", Value(Number::boolean(true)), 'c'},
      {"format='bool'", "NO", Value(Number::boolean(false)), 'c'},
      {"format='int'", " -7 apples", integer(-7), 'q'},
      {"format='uint8'", "300", integer(300), 'q'},
      {"format='uint16'", "apples", integer(0), 'q'},
      {"format='uint64'", "18446744073709551615", integer(std::numeric_limits<std::int64_t>::max()),
       'q'},
      {"format='float'", "0.1", Value(Number::float64(0.1)), 'd'},
      {"format='string'", " x ", Value::string(" x "), '-'},
      {"format='date'", "1", std::nullopt, '-'},
      {"format='int' bitmask='YES'", "1", bits(0), 'Q'},
      {"format='int' bitmask='Yes'", "3", bits(2), 'Q'},
      {"format='int' bitmask='yes'", "0", bits(63), 'Q'},
      {"format='int' bitmask='yes'", "-1", bits(62), 'Q'},
  };
  for (const auto& row : rows) {
    const auto definition = enumOf(row.attributes, {row.text});
    const auto value = definition->values()->at(0)->valueRepresentationUsingEnumObject(*definition);
    EXPECT_EQ(value, row.representation) << row.attributes << ' ' << row.text;
    if (value && value->isNumber()) {
      EXPECT_EQ(static_cast<char>(value->asNumber()->kind()), row.kind) << row.text;
    }
  }
}

TEST(EnumTest, checksAndLookups) {
  const auto small = enumOf("format='uint8'", {"0", "1", "1.5", "01"});
  const auto text = enumOf("format='string'", {"1", "On"});
  const auto flags = enumOf("format='uint8' bitmask='yes'", {"1", "2", "64"});
  const auto truth = enumOf("format='bool'", {"true"});
  const auto ratio = enumOf("format='float'", {"0.5", "9007199254740993"});
  const auto big = enumOf("format='int'", {"9007199254740993"});
  const auto data = enumOf("format='data'", {"1"});
  const auto named = enumOf("format='string' bitmask='yes'", {"1"});
  const auto number = [](std::int64_t n) { return Value(Number::int64(n)); };
  const auto real = [](double n) { return Value(Number::float64(n)); };
  const struct {
    const char* what;
    const QVEnumXMLObject& definition;
    std::optional<Value> candidate;
    bool valid;
    const char* symbol;  // "" when the lookup answers null
  } rows[] = {
      {"nothing", *small, std::nullopt, false, ""},
      {"int", *small, number(1), true, "s1"},
      {"boolean", *small, Value(Number::boolean(true)), true, "s1"},
      {"fraction", *small, real(1.5), false, ""},
      {"not a number", *small, real(std::numeric_limits<double>::quiet_NaN()), false, ""},
      {"text for a number", *small, Value::string("1"), false, ""},
      {"text", *text, Value::string("On"), true, "sOn"},
      {"other case", *text, Value::string("on"), false, ""},
      {"number for a text", *text, number(1), false, ""},
      {"true", *truth, number(1), true, "strue"},
      {"two is not true", *truth, number(2), false, ""},
      {"half", *ratio, Value(Number::float32(0.5F)), true, "s0.5"},
      {"double of a text is rounded", *ratio, real(9007199254740992.0), true, "s9007199254740993"},
      {"integers are exact", *big, number(9007199254740993), true, "s9007199254740993"},
      {"a double beside an integer", *big, real(9007199254740992.0), false, ""},
      {"no bits", *flags, number(0), true, ""},
      {"named bits", *flags, number(3), true, ""},
      {"unnamed bit", *flags, number(4), false, ""},
      {"highest bit", *flags, number(std::numeric_limits<std::int64_t>::min()), true, ""},
      {"bits of a negative number", *flags, number(-1), false, ""},
      {"bits as text", *flags, Value::string("3"), false, ""},
      {"no bits at all", *flags, std::nullopt, false, ""},
      {"format without values", *data, number(1), false, ""},
      {"texts name no bits", *named, number(1), false, ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.definition.isValidValue(row.candidate), row.valid) << row.what;
    const auto found = row.definition.lookupValue(row.candidate);
    EXPECT_EQ(found ? found->symbol() : "", row.symbol) << row.what;
  }
}

TEST(EnumTest, partsThatAHostLeftOut) {
  QVEnumXMLObject bare;
  EXPECT_FALSE(bare.isValidValue(Value(Number::int64(0))));
  bare.setFormat(QVFormatType::uint8);
  EXPECT_FALSE(bare.isValidValue(Value(Number::int64(0))));
  bare.setIsBitmask(true);
  EXPECT_TRUE(bare.isValidValue(Value(Number::int64(0))));
  bare.setFormat(QVFormatType{14});
  EXPECT_FALSE(bare.isValidValue(Value(Number::int64(0))));
  EXPECT_TRUE(bare.description().starts_with("<QVEnumXMLObject: 0x"));
  EXPECT_TRUE(bare.description().ends_with("> => (null)"));
}

TEST(EnumTest, keepsWhatIsWritten) {
  const auto definition = QVEnumXMLObject::initWithXMLElement(elementFrom(
      "<enum name='Mode' format='int'><values><value value=' 1' symbol='A' description='One'/>"
      "<other/><value value='2' symbol='B'/></values></enum>"));
  ASSERT_EQ(definition->values()->size(), 2U);
  EXPECT_EQ(definition->values()->at(0)->value(), " 1");
  EXPECT_EQ(definition->values()->at(0)->valueDescription(), "One");
  EXPECT_EQ(definition->values()->at(1)->valueDescription(), std::nullopt);
  EXPECT_EQ(definition->name(), "Mode");
  EXPECT_FALSE(definition->isBitmask());
}

TEST(TLV8Test, fields) {
  const auto definition = QVTLV8XMLObject::initWithXMLElement(elementFrom(
      "<tlv8 name='T'><fields><field type='0x0A' name='a' format='data' maximumLength='64'/>"
      "<field type='0xff' name='b' format='string' maximumLength=''/>"
      "<field type='0x1G' name='c' format='tlv8'/></fields></tlv8>"));
  using Row = std::tuple<int, std::optional<Number>>;
  std::vector<Row> fields;
  for (const auto& each : *definition->fields()) {
    fields.emplace_back(each->type(), each->maximumLength());
  }
  EXPECT_EQ(fields, (std::vector<Row>{{10, Number::int64(64)}, {255, Number::int64(0)}, {1, {}}}));
  EXPECT_EQ(definition->fields()->at(2)->tlv8Definition(), nullptr);
}

// The definition of a nested TLV8 is looked up at every read.
TEST(TLV8Test, definitionOfAFieldFollowsTheTable) {
  auto& table = QVSymbolTable::sharedSymbolTable();
  const auto inner =
      QVTLV8XMLObject::initWithXMLElement(elementFrom("<tlv8 name='Inner'><fields/></tlv8>"));
  table.setTlv8s(std::make_shared<std::vector<std::shared_ptr<QVTLV8XMLObject>>>(1, inner));
  const auto field = QVTLV8FieldXMLObject::initWithXMLElement(
      elementFrom("<field type='0x01' name='f' format='tlv8' tlv8='Inner'/>"));
  EXPECT_EQ(field->tlv8Definition(), inner);
  inner->setName("Renamed");
  EXPECT_EQ(field->tlv8Definition(), nullptr);
  field->setTlv8Name("Renamed");
  EXPECT_EQ(field->tlv8Definition(), inner);
  table._reset();
  EXPECT_EQ(field->tlv8Definition(), nullptr);
}

TEST(CharacteristicTest, limitsHaveTheKindOfTheirFormat) {
  const struct {
    std::string format, text;
    Number limit;
  } rows[] = {
      {"uint8", "-1.9", Number::int64(-1)},
      {"int", "x", Number::int64(0)},
      {"uint64", "99999999999999999999", Number::int64(std::numeric_limits<std::int64_t>::max())},
      {"float", "0.1", Number::float32(0.1F)},
  };
  for (const auto& row : rows) {
    const auto definition = QVCharacteristicXMLObject::initWithXMLElement(elementFrom(
        "<characteristic name='C'><format name='" + row.format + "'/><minValue value='" + row.text +
        "'/><maxValue value='" + row.text + "'/></characteristic>"));
    EXPECT_EQ(definition->minValue(), row.limit);
    EXPECT_EQ(definition->minValue()->kind(), row.limit.kind()) << row.format;
    EXPECT_EQ(definition->maxValue()->kind(), row.limit.kind()) << row.format;
    EXPECT_EQ(definition->maxValue(), row.limit);
  }
}

// Everything that a characteristic answers about itself, in one line.
std::string answersOf(const QVCharacteristicXMLObject& each) {
  const auto text = [](const std::optional<Number>& number) {
    return number ? number->text() : "-";
  };
  std::string line = fmt::format(
      "{} {} {} {} format {} min {} max {} step {} unit '{}'",
      QVTypes::nameOfTransport(each.transport()), each.name().value_or("-"),
      each.uuid().value_or("-"), each.uti().value_or("-"), static_cast<int>(each.format()),
      text(each.minValue()), text(each.maxValue()), text(each.step()), each.unit().value_or("-"));
  for (const auto& property : *each.properties()) line += " " + property->name().value_or("-");
  return line;
}

TEST(CharacteristicTest, instancesReadThroughToTheirParent) {
  const auto parent = QVCharacteristicXMLObject::initWithXMLElement(elementFrom(
      "<characteristic name='Level'><type uuid='6F1C2D3E' uti='A.B'/>"
      "<format name='int' maximumLength='8'/><minValue value='1'/><maxValue value='9'/>"
      "<step value='2'/><unit name='Lux '/><properties><property name='pr'/><property name='ev'/>"
      "</properties><ip/><btle><type uuid='B'/><format name='float' maximumLength='4'/>"
      "<minValue value='0.5'/><unit name='u'/><properties/></btle></characteristic>"));
  EXPECT_EQ(answersOf(*parent->ip()),
            "IP Level 6f1c2d3e a.b format 2 min 1 max 9 step 2 unit 'Lux ' pr ev");
  EXPECT_EQ(parent->ip()->properties()->at(1)->type(), QVPermissionType::ev);
  EXPECT_EQ(parent->ip()->parent(), parent);
  EXPECT_EQ(parent->ip()->cachedTransformers(), std::nullopt);
  EXPECT_EQ(answersOf(*parent->btle()), "BTLE Level b a.b format 7 min 0.5 max 9 step 2 unit 'u'");
  parent->btle()->setProperties(nullptr);
  parent->btle()->setMinValue(std::nullopt);
  EXPECT_EQ(answersOf(*parent->btle()),
            "BTLE Level b a.b format 7 min 1 max 9 step 2 unit 'u' pr ev");
}

TEST(CharacteristicTest, maximumLengthIsNotInherited) {
  const auto parent = QVCharacteristicXMLObject::initWithXMLElement(
      elementFrom("<characteristic name='C'><format name='data' maximumLength='8'/><ip/>"
                  "<btle><format maximumLength='4'/></btle></characteristic>"));
  EXPECT_EQ(parent->maximumLength(), Number::int64(8));
  EXPECT_EQ(parent->ip()->maximumLength(), std::nullopt);
  EXPECT_EQ(parent->btle()->maximumLength(), Number::int64(4));
}

TEST(CharacteristicTest, bareDefinition) {
  const auto bare = QVCharacteristicXMLObject::initWithFormat(QVFormatType::data);
  EXPECT_EQ(bare->format(), QVFormatType::data);
  EXPECT_EQ(bare->name(), std::nullopt);
  EXPECT_TRUE(bare->description().ends_with("> => (null)"));
}

// Deliberate: the transport stands in front, and only for characteristics.
TEST(SymbolNameTest, dropsBlanksSlashesAndHyphens) {
  const std::pair<const char*, const char*> rows[] = {
      {"Current Level", "CurrentLevel"},
      {"Panel Mode/Target-State", "PanelModeTargetState"},
      {"Angle (degrees)", "Angle(degrees)"},
      {"A_B\t\xE2\x80\x93 C's",
       "A_B\t\xE2\x80\x93"
       "C's"},
      {" -/", ""},
      {"", ""},
  };
  for (const auto& [name, symbol] : rows) {
    const auto characteristic = std::make_shared<QVCharacteristicXMLObject>();
    const auto ip = std::make_shared<QVCharacteristicXMLObject>();
    const auto btle = std::make_shared<QVCharacteristicXMLObject>();
    EXPECT_EQ(characteristic->symbolName(), std::nullopt);
    characteristic->setName(name);
    characteristic->setIp(ip);
    characteristic->setBtle(btle);
    for (const auto& instance : {ip, btle}) instance->setParent(characteristic);
    EXPECT_EQ(characteristic->symbolName(), symbol);
    EXPECT_EQ(ip->symbolName(), std::string("IP") + symbol);
    EXPECT_EQ(btle->symbolName(), std::string("BTLE") + symbol);

    const auto service = std::make_shared<QVServiceXMLObject>();
    const auto serviceIp = std::make_shared<QVServiceXMLObject>();
    service->setName(name);
    service->setIp(serviceIp);
    serviceIp->setParent(service);
    EXPECT_EQ(serviceIp->symbolName(), symbol);
    QVTLV8XMLObject structure;
    QVTLV8FieldXMLObject field;
    structure.setName(name);
    field.setName(name);
    EXPECT_EQ(structure.symbolName(), symbol);
    EXPECT_EQ(field.symbolName(), symbol);
  }
}

}  // namespace
}  // namespace qv
