// What a load refuses: the profile, the whole reason, and the element that it is put down to.

#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::profileText;

class LoadRulesTest : public test::SymbolTableFixture {};

std::string enumNamed(const std::string& name) {
  return "<enum name='" + name + "' format='uint8'><values/></enum>";
}

std::string tlv8Named(const std::string& name, const std::string& fields = "") {
  return "<tlv8 name='" + name + "'><fields>" + fields + "</fields></tlv8>";
}

std::string characteristic(const std::string& name, const std::string& children) {
  return "<characteristic name='" + name + "'><format name='bool'/>" + children +
         "</characteristic>";
}

std::string service(const std::string& name, const std::string& children) {
  return "<service name='" + name + "'>" + children + "</service>";
}

std::string instance(const char* tag, const std::string& uti, const std::string& uuid) {
  return std::string("<") + tag + "><type uti='" + uti + "' uuid='" + uuid + "'/></" + tag + ">";
}

TEST_F(LoadRulesTest, sections) {
  const auto only = [](const std::string& name) {
    return "There must only be 1 " + name + " in the profile xml";
  };
  const struct {
    const char* xml;
    std::string result;
  } rows[] = {
      {"<any><enums/><tlv8s/><characteristics/><services/></any>", "loaded"},
      {"<any><services/><other/><characteristics/><tlv8s/><enums>text</enums></any>", "loaded"},
      {"<any/>", only("enums")},
      {"<any><enums/><enums/><characteristics/><services/></any>", only("enums")},
      {"<any><enums/><characteristics/><services/></any>", only("tlv8s")},
      {"<any><enums/><tlv8s/><characteristics/><x><services/></x></any>", only("services")},
      {"<any><enums/><tlv8s/><characteristics/><services/><characteristics/></any>",
       only("characteristics")},
      {"<any><enums><x><enum/></x><tlv8/></enums><tlv8s/><characteristics/><services/></any>",
       "loaded"},
  };
  for (const auto& row : rows) EXPECT_EQ(load({row.xml}), row.result) << row.xml;
}

TEST_F(LoadRulesTest, uniquenessAndReferences) {
  const std::string a =
      characteristic("A", instance("ip", "u.a", "1A") + instance("btle", "u.b", "1B"));
  const std::string parentOnly = characteristic("P", "<type uti='p' uuid='q'/>");
  const auto with = [&](const std::string& second) { return profileText("", "", a + second, ""); };
  const auto services = [&](const std::string& text) { return profileText("", "", a, text); };
  const std::string s = service("S", instance("ip", "s.a", "2A") + instance("btle", "s.b", "2B"));
  const std::string field = "<field type='0x01' name='f' format='tlv8' tlv8='Later'/>";
  const struct {
    std::string xml;
    std::string result;
    std::string element;  // where the fault is; "name" attribute, else the element's own name
  } rows[] = {
      {profileText(enumNamed("E") + enumNamed("e"), "", "", ""), "loaded", ""},
      {profileText(enumNamed("E") + enumNamed("E"), "", "", ""), "Enum name E is not unique", "E"},
      {profileText("", tlv8Named("T") + tlv8Named("T"), "", ""), "TLV8 name 'T' is not unique",
       "T"},
      {profileText("", tlv8Named("First", field) + tlv8Named("Later"), "", ""),
       "Failed to find tlv8 with name Later (Must be defined before usage as sub-tlv)", "f"},
      {profileText("", tlv8Named("Later", field), "", ""),
       "Failed to find tlv8 with name Later (Must be defined before usage as sub-tlv)", "f"},
      {profileText("", tlv8Named("Later") + tlv8Named("First", field), "", ""), "loaded", ""},
      {profileText(enumNamed("E"), "",
                   "<characteristic name='C'><format name='uint8' enum='e'/>"
                   "</characteristic>",
                   ""),
       "Failed to find enum with name e", "C"},
      {profileText("", "",
                   "<characteristic name='C'><ip><format name='tlv8' tlv8='T'/></ip>"
                   "</characteristic>",
                   ""),
       "Failed to find tlv8 with name T (Must be defined before usage as sub-tlv)", "ip"},
      {with(characteristic("B", instance("ip", "U.A", "9"))),
       "Characteristic ip ref (null) UTI is not unique", "B"},
      {with(characteristic("B", "<type uti='u.a'/><ip/>")),
       "Characteristic ip ref u.a UTI is not unique", "B"},
      {with(characteristic("B", "<type uuid='1A'/><ip/>")),
       "Characteristic ip ref 1a UUID is not unique", "B"},
      {with(characteristic("a", "<ip/>")), "Characteristic ip ref a Name is not unique", "a"},
      {with(characteristic("B", "<type uti='p'/>" + instance("btle", "u.b", "9"))),
       "Characteristic BLE ref p UTI is not unique", "B"},
      {with(characteristic("B", "<type uuid='1b'/><btle/>")),
       "Characteristic BLE ref 1b UUID is not unique", "B"},
      {with(characteristic("a", "<btle/>")), "Characteristic BLE ref a Name is not unique", "a"},
      {with(characteristic("B", instance("ip", "1b", "9"))),
       "Characteristic ip ref (null) UTI is not unique", "B"},
      {with(characteristic("U.B", "<btle/>")), "Characteristic BLE ref U.B Name is not unique",
       "U.B"},
      {with(characteristic("B", instance("ip", "x", "y") + instance("btle", "x", "y"))), "loaded",
       ""},
      {with(characteristic("B", instance("ip", "x", "x"))), "loaded", ""},
      {with(parentOnly + parentOnly), "loaded", ""},  // parents have keys only through instances
      {services(s + service("T", "<type uti='s.a'/><ip/>")), "Service ip ref s.a is not unique",
       "T"},
      {services(s + service("T", "<type uuid='2b'/><ip/>")), "Service ip ref 2b is not unique",
       "T"},
      {services(s + service("s", "<ip/>")), "Service ip ref s is not unique", "s"},
      {services(s + service("T", "<type uti='2a'/><btle/>")), "Service BLE ref 2a is not unique",
       "T"},
      {services(s + service("T", instance("btle", "t", "2B"))),
       "Service BLE ref (null) is not unique", "T"},
      {services(s + service("s", "<btle/>")), "Service BLE ref s is not unique", "s"},
      {services(service("A", instance("ip", "u.a", "1A"))), "loaded", ""},  // keys per section
      {services(service("S", "<ip><optional><characteristic ref='Gone'/></optional></ip>")),
       "Failed to find parent characteristic with ref gone", "characteristic"},
      {services(service("S", "<optional><characteristic ref='A'/></optional>")),
       "Invalid transport 0 for service 'S'", "characteristic"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(load({row.xml}), row.result) << row.xml;
    if (!table.lastLoadFault()) continue;
    EXPECT_EQ(table.lastLoadFault()->reason, row.result);
    EXPECT_EQ(table.lastLoadFault()->document, table.document());
    const auto& element = table.lastLoadFault()->element;
    ASSERT_NE(element, nullptr) << row.xml;
    EXPECT_EQ(element->attribute("name").value_or(element->name()), row.element) << row.xml;
  }
}

TEST_F(LoadRulesTest, aFailedLoadLogsReasonAndOrigin) {
  EXPECT_EQ(load({profileText("\n<enum name='E' format='nothing'/>", "", "", "")}),
            "Must have valid value format, saw 'nothing'");
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[0],
            "Failed to load symbol table with reason: Must have valid value format, saw 'nothing'");
  // The line number of the rule is the only part that may move.
  const std::string start = "raised at qvparsersupport/definitions/enum_xml_object.cpp:";
  const std::string end = ", element 'enum' at p0.xml:2:1";
  EXPECT_EQ(log[1].substr(0, start.size()), start);
  EXPECT_EQ(log[1].substr(log[1].find_first_not_of("0123456789", start.size())), end);

  EXPECT_EQ(load({profileText("", "", "", "")}), "loaded");
  EXPECT_EQ(log, std::vector<std::string>());
}

TEST_F(LoadRulesTest, aLoadMayAskForNoText) {
  const std::shared_ptr<const XMLDocument> documents[] = {nullptr};
  EXPECT_FALSE(table.loadDocuments(documents));
  ASSERT_TRUE(table.lastLoadFault());
  EXPECT_EQ(table.lastLoadFault()->reason, "There must only be 1 enums in the profile xml");
  EXPECT_EQ(table.lastLoadFault()->element, nullptr);
}

}  // namespace
}  // namespace qv
