// What is in the table after loads, good and bad ones, and how long it lives.

#include <algorithm>
#include <functional>

#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using test::documentFrom;
using test::profileText;

class SymbolTableTest : public test::SymbolTableFixture {
 protected:
  template <class List>
  static std::string names(const List& list) {
    if (list == nullptr) return "null";
    std::string text;
    for (const auto& each : *list) text += each->name().value_or("?") + " ";
    return text;
  }
  // Everything that the table holds, in one line.
  std::string contents() const {
    return names(table.enums()) + "| " + names(table.tlv8s()) + "| " +
           names(table.characteristics()) + "| " + names(table.transportCharacteristics()) + "| " +
           names(table.services());
  }
};

// A whole profile whose names and UUIDs carry the letter.
std::string profile(char letter, const std::string& lastService = "") {
  std::string text = profileText(
      "<enum name='E#' format='uint8'><values><value value='1' symbol='on'/></values></enum>",
      "<tlv8 name='T#'><fields><field type='0x01' name='f' format='uint8'/></fields></tlv8>",
      "<characteristic name='C#'><type uti='Com.#' uuid='10#'/>"
      "<format name='uint8' enum='E#' maximumLength='3'/><properties><property name='pr'/>"
      "</properties><ip/><btle><type uuid='20#'/></btle></characteristic>",
      "<service name='S#'><type uuid='30#'/><ip><required><characteristic ref='COM.#'/></required>"
      "</ip></service>" +
          lastService);
  std::replace(text.begin(), text.end(), '#', letter);
  return text;
}

TEST_F(SymbolTableTest, onlyTheInstancesOfTheLastDocumentStay) {
  EXPECT_EQ(load({profile('a'), profile('b')}), "loaded");
  EXPECT_EQ(contents(), "Ea Eb | Ta Tb | Ca Cb | Cb Cb | Sa Sb ");
  EXPECT_EQ(table.document()->name(), "p1.xml");
}

TEST_F(SymbolTableTest, aResetLeavesTheInstances) {
  EXPECT_EQ(load({profile('a')}), "loaded");
  EXPECT_EQ(contents(), "Ea | Ta | Ca | Ca Ca | Sa ");
  EXPECT_EQ(load({}), "loaded");
  EXPECT_EQ(contents(), "null| null| null| Ca Ca | null");
  EXPECT_EQ(table.document(), nullptr);
  EXPECT_EQ(load({profileText("", "", "", "")}), "loaded");
  EXPECT_EQ(contents(), "| null| | | ");
}

TEST_F(SymbolTableTest, aFailedLoadKeepsWhatWasComplete) {
  const std::string badService = "<service name='X'><required/><required/></service>";
  const std::string text = "There must be exactly 1 required element in a service";
  EXPECT_EQ(load({profile('a'), profile('b', badService), profile('c')}), text);
  EXPECT_EQ(contents(), "Ea Eb | Ta Tb | Ca Cb | Cb Cb | Sa ");
  EXPECT_EQ(table.document()->name(), "p1.xml");
  EXPECT_EQ(table.parentServiceWithRef("Sb"), nullptr);

  EXPECT_EQ(load({profileText("<enum name='E' format='int'><values/></enum><enum/>", "", "", "")}),
            "'name' not found on element <enum/>");
  EXPECT_EQ(contents(), "null| null| null| Cb Cb | null");

  const std::string tlv8s = "<tlv8 name='T'><fields/></tlv8><tlv8 name='U'><fields/></tlv8><tlv8/>";
  EXPECT_EQ(load({profileText("", tlv8s, "", "")}), "'name' not found on element <tlv8/>");
  EXPECT_EQ(contents(), "| T U | null| Cb Cb | null");
}

TEST_F(SymbolTableTest, everyTransformerGapIsReportedAfterTheLoad) {
  const std::string field =
      "<tlv8 name='T'><fields><field type='0x01' name='ok' format='uint8'/>"
      "<field type='0x02' name='gap' format='array'/></fields></tlv8>";
  const std::string fine =
      "<characteristic name='Fine'><format name='bool'/><ip/></characteristic>";
  const std::string gap =
      "<characteristic name='Gap'><format name='dict'/><btle/></characteristic>";
  const std::string none = "<characteristic name='None'><ip/></characteristic>";
  const struct {
    std::vector<std::string> profiles;
    std::string result;
    std::vector<std::string> log;
  } rows[] = {
      // The parent alone needs no transformer.
      {{profileText("", "", "<characteristic name='C'/>", "")}, "loaded", {}},
      {{profileText("", field, none + gap, "")},
       "No value transformer found for characteristic 'None'",
       {"Details: Transport 1, Format 0"}},
      {{profileText("", "", fine + gap + none, "")},
       "No value transformer found for characteristic 'Gap'",
       {"Details: Transport 2, Format 13"}},
      {{profileText("", field, fine, "")},
       "No tlv8 value transformer found for field 'gap'",
       {"Details: TLV8 transformer missing for field 'gap'"}},
      // Only the last document's instances are looked at.
      {{profileText("", "", none, ""), profileText("", "", "", "")}, "loaded", {}},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(load(row.profiles), row.result);
    EXPECT_EQ(log, row.log) << row.result;
  }
  EXPECT_EQ(load({profileText("", field, none, "")}), rows[1].result);
  EXPECT_EQ(table.lastLoadFault()->element->name(), "ip");
  EXPECT_EQ(contents(), "| T | None | None | ");
}

TEST_F(SymbolTableTest, theSanityCheckAnswersOnItsOwn) {
  std::optional<std::string> error = "from before";
  EXPECT_TRUE(table._runSanityCheckWithErrorDescription(&error));
  EXPECT_EQ(error, std::nullopt);
  table.setTransportCharacteristics(
      std::make_shared<std::vector<std::shared_ptr<QVCharacteristicXMLObject>>>(
          1, std::make_shared<QVCharacteristicXMLObject>()));
  EXPECT_FALSE(table._runSanityCheckWithErrorDescription(&error));
  EXPECT_EQ(error, "No value transformer found for characteristic '(null)'");
  EXPECT_EQ(log, std::vector<std::string>{"Details: Transport 0, Format 0"});
  EXPECT_FALSE(table._runSanityCheckWithErrorDescription(nullptr));
}

// What somebody holds stays readable in full, whatever becomes of the table; run under ASan.
TEST_F(SymbolTableTest, handlesOutliveTheTablesContents) {
  const auto read = [](const QVCharacteristicXMLObject& each) {
    return each.name().value_or("?") + " " + each.uuid().value_or("?") + " " +
           each.uti().value_or("?") + " " + each.enumDefinition()->name().value_or("?") + " " +
           std::to_string(each.properties()->size()) + " " + std::string(each.element()->name());
  };
  const std::function<void()> drops[] = {
      [&] { table._reset(); },
      [&] { load({profile('z')}); },
      [&] { load({profileText("<enum/>", "", "", "")}); },
      [&] { clear(); },
  };
  for (const auto& drop : drops) {
    EXPECT_EQ(load({profile('a')}), "loaded");
    const auto found = table.characteristicWithRef("20a", QVTransport::btle);
    const auto required = table.serviceWithRef("30a", QVTransport::ip)->required();
    const auto service = table.parentServiceWithRef("sa")->ip();
    const auto list = table.transportCharacteristics();
    drop();
    EXPECT_EQ(read(*found), "Ca 20a com.a Ea 1 btle");
    EXPECT_EQ(read(*required->at(0)), "Ca 10a com.a Ea 1 ip");
    EXPECT_EQ(read(*list->at(0)), "Ca 10a com.a Ea 1 ip");
    EXPECT_EQ(found->parent()->ip(), required->at(0));
    EXPECT_EQ(service->name(), "Sa");
    EXPECT_EQ(service->uuid(), "30a");
  }
  // After a reset the table's own list is such a holder.
  EXPECT_EQ(load({profile('a')}), "loaded");
  table._reset();
  EXPECT_EQ(read(*table.characteristicWithRef("10A", QVTransport::ip)), "Ca 10a com.a Ea 1 ip");
}

TEST_F(SymbolTableTest, aHeldListDoesNotChange) {
  EXPECT_EQ(load({profileText("", "<tlv8 name='T'><fields/></tlv8>", "", "")}), "loaded");
  const auto before = table.tlv8s();
  table.setDocument(documentFrom(
      profileText("", "<tlv8 name='U'><fields/></tlv8><tlv8 name='V'><fields/></tlv8>", "", "")));
  table._loadTLV8s();
  EXPECT_EQ(names(before), "T ");
  EXPECT_EQ(names(table.tlv8s()), "T U V ");
  EXPECT_EQ(table.tlv8WithName("V"), table.tlv8s()->at(2));
}

TEST_F(SymbolTableTest, everyTLV8IsVisibleToTheNext) {
  std::string text = "<tlv8 name='T0'><fields/></tlv8>";
  for (int i = 1; i < 30000; ++i) {
    text += "<tlv8 name='T" + std::to_string(i) +
            "'><fields><field type='0x01' name='f' format='tlv8' tlv8='T" + std::to_string(i - 1) +
            "'/></fields></tlv8>";
  }
  EXPECT_EQ(load({profileText("", text, "", "")}), "loaded");
  const auto last = table.tlv8WithName("T29999");
  EXPECT_EQ(last->fields()->at(0)->tlv8Definition(), table.tlv8WithName("T29998"));
}

}  // namespace
}  // namespace qv
