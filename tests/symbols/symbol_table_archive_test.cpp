// What a table archives and restores.

#include <fmt/format.h>

#include <limits>
#include <map>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/value_json.h"
#include "tests/support/expectations.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::profileText;

constexpr const char* kSections[] = {"enums", "tlv8s", "characteristics", "services"};

Value valueOf(std::string_view json) {
  const auto parsed = parseJSON(bytesOf(json));
  EXPECT_EQ(parsed.error, "") << json;
  return parsed.value.value_or(Value());
}

class ArchiveTest : public test::SymbolTableFixture {
 protected:
  std::string restore(const Value& archive) {
    log.clear();
    std::optional<std::string> error = "from before";
    const bool restored = table.loadArchivedRepresentation(archive, &error);
    EXPECT_EQ(restored, !error.has_value());
    EXPECT_EQ(restored, !table.lastLoadFault().has_value());
    EXPECT_FALSE(table.loadInProgress());
    EXPECT_EQ(table.document(), nullptr);
    EXPECT_EQ(log.size(), restored ? 0U : 2U);
    return error.value_or("restored");
  }
};

TEST_F(ArchiveTest, profilesAreArchivedAndRestored) {
  std::string section;
  test::expectAnswers("archives/profiles.txt", [&](const test::Case& input) -> std::string {
    if (input[0].starts_with("== ")) {
      section = input[0].substr(input[0].rfind(' ') + 1);
      return "";
    }
    std::string fragment;
    for (const std::string& line : input) fragment += line;
    const auto in = [&](const char* name) { return section == name ? fragment : ""; };
    EXPECT_EQ(load({profileText("<enum name='E' format='uint8'><values/></enum>" + in("enums"),
                                "<tlv8 name='T0'><fields/></tlv8>" + in("tlv8s"),
                                "<characteristic name='A'><type uti='u.a' uuid='1B'/>"
                                "<format name='bool'/><ip/><btle/></characteristic>" +
                                    in("characteristics"),
                                in("services"))}),
              "loaded");
    const Value archive = table.archiveRepresentation();
    EXPECT_EQ(restore(archive), "restored");
    EXPECT_EQ(table.archiveRepresentation(), archive);

    const Value list = archive.find(section).value_or(Value());
    std::string text;
    for (std::size_t i = section == "services" ? 0 : 1; i < list.count(); ++i) {
      text += jsonText(list.at(i)) + "\n";
    }
    return text;
  });
}

// Through a file's text and back.
TEST_F(ArchiveTest, sampleProfilesAreRestoredFromJSON) {
  for (const char* name : {"lamp", "household"}) {
    ASSERT_EQ(load({test::contentOf(fmt::format(QV_SOURCE_DIR "/examples/profiles/{}.xml", name))}),
              "loaded");
    const Value archive = table.archiveRepresentation();
    const std::string text = jsonText(*jsonFormOf(archive), {.indent = 1});
    EXPECT_EQ(restore(*valueOfJSONForm(valueOf(text))), "restored");
    const Value again = table.archiveRepresentation();
    EXPECT_EQ(again, archive);
    EXPECT_EQ(jsonText(*jsonFormOf(again), {.indent = 1}), text);
    EXPECT_TRUE(table._runSanityCheckWithErrorDescription(nullptr));
  }
}

TEST_F(ArchiveTest, whatATableMakesOfAnArchive) {
  test::expectAnswers("archives/tables.txt", [&](const test::Case& input) {
    const std::string result = restore(valueOf(input[0]));
    if (result != "restored") return result;
    std::string text;
    const Value archive = table.archiveRepresentation();
    EXPECT_EQ(archive.count(), std::size(kSections));
    for (std::size_t i = 0; i < archive.count(); ++i) {
      EXPECT_EQ(archive.keyAt(i), kSections[i]);
      if (archive.at(i).count() > 0) {
        text += fmt::format("{}: {}\n", kSections[i], jsonText(archive.at(i)));
      }
    }
    return text.empty() ? "nothing" : text;
  });
}

// Every key of every class is in it.
std::string fullProfile() {
  return profileText(
      "<enum name='E' format='uint8' bitmask='yes'><values><value value='1' symbol='a' "
      "description='d'/></values></enum>",
      "<tlv8 name='T'><fields><field type='0x01' name='f' format='uint8' enum='E'/></fields></tlv8>"
      "<tlv8 name='U'><fields><field type='0x02' name='g' format='tlv8' tlv8='T'/></fields></tlv8>",
      "<characteristic name='C'><type uti='u.c' uuid='1C'/><format name='uint8' enum='E' "
      "maximumLength='3'/><minValue value='0'/><maxValue value='5'/><unit name='lux'/>"
      "<properties><property name='pr'/></properties><ip/><btle><type uuid='2C'/></btle>"
      "</characteristic>"
      "<characteristic name='D'><format name='int'/><step value='2'/><ip/></characteristic>"
      "<characteristic name='F'><format name='tlv8' tlv8='U'/><ip/></characteristic>",
      "<service name='S'><type uti='u.s' uuid='1D'/><ip><required><characteristic ref='1c'/>"
      "</required><optional><characteristic ref='F'/></optional></ip><btle/></service>");
}

struct Packet : ValueObject {};

// The value with one part of it replaced by a value of every kind or, in a dictionary, missing.
std::vector<Value> variantsOf(const Value& value) {
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  static const Value kinds[] = {
      Value(),
      Number::boolean(true),
      Number::int64(-7),
      Number::uint64(std::numeric_limits<std::uint64_t>::max()),
      Number::float64(1e300),
      Number::float32(static_cast<float>(kNaN)),
      Value::string(""),
      Value::string("C\xFF"),
      Value::bytes(bytesOf("E")),
      Value::array({}),
      Value::array({Value(), Value::string("E"), Value::dictionary({})}),
      Value::dictionary({}),
      Value::dictionary({{"name", Number::int32(1)}, {"ip", Value::array({})}}),
      Value::object(std::make_shared<Packet>())};
  std::vector<Value> variants(std::begin(kinds), std::end(kinds));
  std::vector<Value> elements;
  std::vector<Value::Entry> entries;
  for (std::size_t i = 0; i < value.count(); ++i) {
    if (value.isArray()) elements.push_back(value.at(i));
    if (value.isDictionary()) entries.emplace_back(value.keyAt(i), value.at(i));
  }
  for (std::size_t i = 0; i < value.count(); ++i) {
    for (const Value& variant : variantsOf(value.at(i))) {
      if (value.isArray()) {
        auto changed = elements;
        changed[i] = variant;
        variants.push_back(Value::array(changed));
      } else {
        auto changed = entries;
        changed[i].second = variant;
        variants.push_back(Value::dictionary(changed));
      }
    }
    if (value.isArray()) continue;
    auto fewer = entries;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
    variants.push_back(Value::dictionary(fewer));
  }
  return variants;
}

TEST_F(ArchiveTest, aWrongPartNeverEndsInAnythingButAnAnswer) {
  ASSERT_EQ(load({fullProfile()}), "loaded");
  const Value archive = table.archiveRepresentation();
  std::map<std::string, int> answers;
  for (const Value& variant : variantsOf(archive)) {
    const std::string answer = restore(variant);
    ++answers[answer];
    if (answer != "restored") continue;
    // What was restored can be looked at, archived and restored again.
    table._runSanityCheckWithErrorDescription(nullptr);
    log.clear();
    const Value again = table.archiveRepresentation();
    EXPECT_EQ(restore(again), "restored") << jsonText(variant);
    EXPECT_EQ(jsonText(table.archiveRepresentation()), jsonText(again)) << jsonText(variant);
  }
  test::expectAnswers("archives/wrong-parts.txt", [&](const test::Case&) {
    std::string text;
    for (const auto& [answer, count] : answers) text += fmt::format("{}: {}\n", count, answer);
    return text;
  });
}

TEST_F(ArchiveTest, aFailureKeepsWhatWasStoredBeforeIt) {
  ASSERT_EQ(load({fullProfile()}), "loaded");
  const auto instances = table.transportCharacteristics();
  EXPECT_EQ(restore(valueOf(R"({"enums":[{"name":"E"}],"characteristics":[{"enumName":"e"}]})")),
            "Failed to find enum with name e");
  EXPECT_EQ(log[0], "Failed to load symbol table with reason: Failed to find enum with name e");
  EXPECT_EQ(table.enums()->size(), 1U);
  EXPECT_EQ(table.tlv8s()->size(), 0U);
  EXPECT_EQ(table.characteristics(), nullptr);
  EXPECT_EQ(*table.transportCharacteristics(), *instances);
  EXPECT_EQ(table.enumWithName("e"), nullptr);
}

TEST_F(ArchiveTest, theInstancesAreThoseOfEveryCharacteristic) {
  const auto profile = [](const std::string& name) {
    return profileText("", "",
                       "<characteristic name='" + name +
                           "'><format name='bool'/><ip/>"
                           "<btle/></characteristic>",
                       "");
  };
  ASSERT_EQ(load({profile("A"), profile("B")}), "loaded");
  EXPECT_EQ(table.characteristicWithRef("a", QVTransport::ip), nullptr);
  ASSERT_EQ(restore(table.archiveRepresentation()), "restored");
  for (std::size_t i = 0; i < 4; ++i) {
    const auto& instance = table.transportCharacteristics()->at(i);
    EXPECT_EQ(instance->name(), i < 2 ? "A" : "B");
    EXPECT_EQ(instance->transport(), i % 2 == 0 ? QVTransport::ip : QVTransport::btle);
    EXPECT_EQ(table.characteristicWithRef(i < 2 ? "a" : "b", instance->transport()), instance);
    EXPECT_EQ(instance->parent(), table.characteristics()->at(i / 2));
  }
}

TEST_F(ArchiveTest, nestingIsBounded) {
  const auto nested = [](std::size_t definitions) {
    Value family = Value::dictionary({});
    while (--definitions > 0) family = Value::dictionary({{"ip", family}});
    return Value::dictionary(
        {{"characteristics", Value::array({family})}, {"other", Value::array({family})}});
  };
  EXPECT_EQ(restore(nested(62)), "restored");
  // Lists that were not there are written, but empty.
  EXPECT_EQ(restore(table.archiveRepresentation()), "restored");
  EXPECT_EQ(restore(nested(63)), "The archive is nested deeper than 64 levels");
  EXPECT_EQ(restore(nested(100000)), "The archive is nested deeper than 64 levels");

  // What reads as a dictionary is a level; levels that share theirs are no way around a limit.
  const auto innermost = [](Value family, int above, bool isTwin) {
    for (; above > 0; --above) {
      family = isTwin ? Value::dictionary({{"btle", family}, {"ip", family}})
                      : Value::dictionary({{"ip", family}});
    }
    return Value::dictionary({{"characteristics", Value::array({family})}});
  };
  EXPECT_EQ(restore(innermost(valueOf(R"({"properties":[0]})"), 59, false)), "restored");
  for (const char* family : {R"({"properties":[0]})", R"({"properties":[{}]})"}) {
    EXPECT_EQ(restore(innermost(valueOf(family), 60, false)),
              "The archive is nested deeper than 64 levels");
  }
  EXPECT_EQ(restore(innermost(Value::dictionary({}), 15, true)), "restored");
  EXPECT_EQ(restore(innermost(Value::dictionary({}), 60, true)),
            "The archive nests more than 100000 instances within instances");
}

TEST_F(ArchiveTest, longNamesAreNotCopiedForEachReference) {
  const std::string name(100'000, 'n');
  std::string refs;
  for (int i = 0; i < 10'000; ++i) refs += "<characteristic ref='1'/>";
  ASSERT_EQ(
      load({profileText("", "",
                        "<characteristic name='" + name +
                            "'><type uuid='1'/><format name='bool'/><ip/></characteristic>",
                        "<service name='S'><ip><required>" + refs + "</required></ip></service>")}),
      "loaded");
  const Value service = table.archiveRepresentation().find("services")->at(0);
  const Value list = *service.find("ip")->find("requiredRefs");
  EXPECT_EQ(list.count(), 10'000U);
  EXPECT_EQ(list.at(0).asString()->data(), list.at(9'999).asString()->data());
  EXPECT_EQ(*list.at(9'999).asString(), name);
}

TEST_F(ArchiveTest, structuresMayReferToThemselvesAndEachOther) {
  ASSERT_EQ(restore(valueOf(R"({"tlv8s":[
      {"name":"A","fields":[{"format":10,"tlv8Name":"A"},{"format":10,"tlv8Name":"B"}]},
      {"name":"B","fields":[{"format":10,"tlv8Name":"A"},{"format":10,"tlv8Name":"C"}]}]})")),
            "restored");
  const auto& fields = *table.tlv8WithName("A")->fields();
  EXPECT_EQ(fields[0]->tlv8Definition(), table.tlv8WithName("A"));
  EXPECT_EQ(fields[1]->tlv8Definition()->fields()->at(0)->tlv8Definition(),
            table.tlv8WithName("A"));
  EXPECT_EQ(fields[1]->tlv8Definition()->fields()->at(1)->tlv8Definition(), nullptr);
  const Value archive = table.archiveRepresentation();
  EXPECT_EQ(restore(archive), "restored");
  EXPECT_EQ(table.archiveRepresentation(), archive);
}

TEST_F(ArchiveTest, familiesOfAnyShapeAreArchived) {
  const auto made = [](QVFormatType format) {
    return QVCharacteristicXMLObject::initWithFormat(format);
  };
  // What would stand within itself is left out.
  const auto first = made(QVFormatType::boolean);
  const auto second = made(QVFormatType::integer);
  first->setIp(second);
  first->setBtle(first);
  second->setBtle(second);
  second->setIp(made(QVFormatType::string));
  EXPECT_EQ(jsonText(first->archiveRepresentation()),
            R"({"transport":0,"format":1,"properties":[],"ip":{"transport":0,"format":2,)"
            R"("properties":[],"ip":{"transport":0,"format":8,"properties":[]}}})");

  // Thirty levels in both places of the level above are a billion, but not for an archive.
  auto shared = made(QVFormatType::data);
  for (int i = 0; i < 30; ++i) {
    auto above = made(QVFormatType::data);
    above->setIp(shared);
    above->setBtle(shared);
    shared = above;
  }
  EXPECT_EQ(shared->archiveRepresentation(), shared->archiveRepresentation());

  auto deep = made(QVFormatType::data);
  for (int i = 0; i < 100000; ++i) {
    auto above = made(QVFormatType::data);
    above->setIp(deep);
    deep = above;
  }
  Value archive = deep->archiveRepresentation();
  std::size_t levels = 1;
  for (; archive.find("ip"); ++levels) archive = *archive.find("ip");
  EXPECT_EQ(levels, 100001U);
}

// Made by a host, outside any load.
TEST_F(ArchiveTest, definitionsAloneAreArchivedAndRestored) {
  const auto reference = QVServiceCharacteristicReferenceXMLObject::initWithArchivedRepresentation(
      valueOf(R"({"ref":"On"})"));
  EXPECT_EQ(reference->ref(), "On");
  EXPECT_EQ(jsonText(reference->archiveRepresentation()), R"({"ref":"On"})");
  EXPECT_EQ(jsonText(QVXMLObject::initWithArchivedRepresentation(valueOf(R"({"a":1})"))
                         ->archiveRepresentation()),
            "{}");
  const auto unknown = QVCharacteristicXMLObject::initWithArchivedRepresentation(
      valueOf(R"({"enumName":"E","tlv8Name":"T"})"));
  EXPECT_EQ(unknown->enumDefinition(), nullptr);
  EXPECT_EQ(unknown->tlv8Definition(), nullptr);
  const auto refused = [](const char* archive) {
    return test::refusalOf(
        [&] { QVServiceXMLObject::initWithArchivedRepresentation(valueOf(archive)); });
  };
  EXPECT_EQ(refused(R"({"transport":1,"requiredRefs":["no"]})"), "Must have IP instance");
  EXPECT_EQ(refused(R"({"transport":2,"requiredRefs":[]})"), "accepted");

  using Values = DefinitionList<QVEnumValueXMLObject>;
  const Value list = valueOf(R"([{"symbol":"a"},{"value":"1"}])");
  EXPECT_EQ(QVXMLObject::archiveArray(QVXMLObject::loadArchivedArray<QVEnumValueXMLObject>(list)),
            list);
  EXPECT_EQ(QVXMLObject::archiveArray(Values()), Value::array({}));
  EXPECT_EQ(QVXMLObject::archiveArray(nullptr), Value::array({}));
  EXPECT_EQ(QVXMLObject::loadArchivedArray<QVEnumValueXMLObject>(std::nullopt)->size(), 0U);
}

}  // namespace
}  // namespace qv
