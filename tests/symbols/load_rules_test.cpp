// What a load refuses, and what it tells about it.

#include "tests/support/expectations.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::profileText;

class FailedLoadTest : public test::SymbolTableFixture {};

// A heading names the section that the cases below it stand in, and what they are about.
TEST_F(FailedLoadTest, answersTheReasonAndTheElement) {
  std::string section;
  test::expectAnswers("rules/loads.txt", [&](const test::Case& input) -> std::string {
    if (input[0].starts_with("== ")) {
      section = input[0].substr(3, input[0].rfind(' ') - 3);
      return "";
    }
    const std::string result = load({test::profileWithFragment(section, input[0])});
    const auto& fault = table.lastLoadFault();
    if (!fault) return result;
    if (fault->element == nullptr) return result + "\nat no element";
    return result + "\nat " +
           std::string(fault->element->attribute("name").value_or(fault->element->name()));
  });
}

TEST_F(FailedLoadTest, logsReasonAndOrigin) {
  EXPECT_EQ(load({profileText("\n<enum name='E' format='nothing'/>", "", "", "")}),
            "Must have valid value format, saw 'nothing'");
  ASSERT_EQ(log.size(), 2U);
  EXPECT_EQ(log[0],
            "Failed to load symbol table with reason: Must have valid value format, saw 'nothing'");
  // The line number of the rule is the only part that may move.
  const std::string start = "raised at qvparsersupport/definitions/enum_xml_object.cpp:";
  EXPECT_EQ(log[1].substr(0, start.size()), start);
  EXPECT_EQ(log[1].substr(log[1].find_first_not_of("0123456789", start.size())),
            ", element 'enum' at p0.xml:2:1");

  EXPECT_EQ(load({profileText("", "", "", "")}), "loaded");
  EXPECT_EQ(log, std::vector<std::string>());
}

TEST_F(FailedLoadTest, mayAskForNoText) {
  const std::shared_ptr<const XMLDocument> documents[] = {nullptr};
  EXPECT_FALSE(table.loadDocuments(documents));
  ASSERT_TRUE(table.lastLoadFault());
  EXPECT_EQ(table.lastLoadFault()->reason, "There must only be 1 enums in the profile xml");
  EXPECT_EQ(table.lastLoadFault()->element, nullptr);
}

}  // namespace
}  // namespace qv
