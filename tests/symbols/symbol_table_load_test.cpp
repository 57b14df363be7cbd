// What is in the table after loads, good and bad ones, and how long it lives.

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
std::string profile(const std::string& x, const std::string& lastService = "") {
  return profileText("<enum name='E" + x +
                         "' format='uint8'><values><value value='1' symbol='on'/></values></enum>",
                     "<tlv8 name='T" + x +
                         "'><fields><field type='0x01' name='f' format='uint8'/></fields></tlv8>",
                     "<characteristic name='C" + x + "'><type uti='Com." + x + "' uuid='10" + x +
                         "'/><format name='uint8' enum='E" + x +
                         "' maximumLength='3'/>"
                         "<properties><property name='pr'/></properties><ip/><btle><type uuid='20" +
                         x + "'/></btle></characteristic>",
                     "<service name='S" + x + "'><type uuid='30" + x +
                         "'/><ip><required><characteristic ref='COM." + x +
                         "'/></required></ip></service>" + lastService);
}

TEST_F(SymbolTableTest, contentsAfterLoads) {
  EXPECT_EQ(load({profile("a")}), "loaded");
  EXPECT_EQ(contents(), "Ea | Ta | Ca | Ca Ca | Sa ");
  EXPECT_EQ(table.document()->name(), "p0.xml");

  EXPECT_EQ(load({profile("a"), profile("b")}), "loaded");
  EXPECT_EQ(contents(), "Ea Eb | Ta Tb | Ca Cb | Cb Cb | Sa Sb ");
  EXPECT_EQ(table.document()->name(), "p1.xml");

  // No document: everything is dropped but the instances of the load before.
  EXPECT_EQ(load({}), "loaded");
  EXPECT_EQ(contents(), "null| null| null| Cb Cb | null");
  EXPECT_EQ(table.document(), nullptr);

  EXPECT_EQ(load({profileText("", "", "", "")}), "loaded");
  EXPECT_EQ(contents(), "| null| | | ");
}

TEST_F(SymbolTableTest, aFailedLoadKeepsWhatWasComplete) {
  const std::string badService = "<service name='X'><required/><required/></service>";
  const std::string text = "There must be exactly 1 required element in a service";
  EXPECT_EQ(load({profile("a"), profile("b", badService), profile("c")}), text);
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
  const auto characteristics = [](const std::string& format) {
    return "<characteristic name='Fine'><format name='bool'/><ip/></characteristic>"
           "<characteristic name='First'><format name='" +
           format +
           "'/><btle/><ip/>"
           "</characteristic><characteristic name='Second'><format name='" +
           format +
           "'/><ip/>"
           "</characteristic>";
  };
  const auto tlv8s = [](const std::string& format) {
    return "<tlv8 name='T'><fields><field type='0x01' name='ok' format='uint8'/>"
           "<field type='0x02' name='gap' format='" +
           format + "'/></fields></tlv8>";
  };
  // The parent alone needs no transformer.
  EXPECT_EQ(load({profileText("", "", "<characteristic name='C'/>", "")}), "loaded");

  EXPECT_EQ(
      load({profileText("", tlv8s("date"), "<characteristic name='C'><ip/></characteristic>", "")}),
      "No value transformer found for characteristic 'C'");
  EXPECT_EQ(log, std::vector<std::string>{"Details: Transport 1, Format 0"});
  EXPECT_EQ(table.lastLoadFault()->element->name(), "ip");
  EXPECT_EQ(table.lastLoadFault()->document, table.document());
  EXPECT_EQ(contents(), "| T | C | C | ");

  EXPECT_EQ(load({profileText("", "", characteristics("dict"), "")}),
            "No value transformer found for characteristic 'First'");
  EXPECT_EQ(log.size(), 1U);

  EXPECT_EQ(load({profileText("", tlv8s("array"), characteristics("bool"), "")}),
            "No tlv8 value transformer found for field 'gap'");
  EXPECT_EQ(log, std::vector<std::string>{"Details: TLV8 transformer missing for field 'gap'"});

  // Only the last document's instances are looked at.
  EXPECT_EQ(load({profileText("", "", "<characteristic name='C'><ip/></characteristic>", ""),
                  profileText("", "", "", "")}),
            "loaded");
}

TEST_F(SymbolTableTest, theSanityCheckAnswersOnItsOwn) {
  std::optional<std::string> error = "from before";
  EXPECT_TRUE(table._runSanityCheckWithErrorDescription(&error));
  EXPECT_EQ(error, std::nullopt);
  const auto gap = std::make_shared<QVCharacteristicXMLObject>();
  gap->setTransport(QVTransport{-3});
  table.setTransportCharacteristics(
      std::make_shared<std::vector<std::shared_ptr<QVCharacteristicXMLObject>>>(1, gap));
  EXPECT_FALSE(table._runSanityCheckWithErrorDescription(&error));
  EXPECT_EQ(error, "No value transformer found for characteristic '(null)'");
  EXPECT_EQ(log, std::vector<std::string>{"Details: Transport -3, Format 0"});
  EXPECT_FALSE(table._runSanityCheckWithErrorDescription(nullptr));
}

// What somebody holds stays readable in full, whatever becomes of the table; run under ASan.
TEST_F(SymbolTableTest, handlesOutliveTheTablesContents) {
  const auto read = [](const QVCharacteristicXMLObject& each) {
    return each.name().value_or("?") + " " + each.uuid().value_or("?") + " " +
           each.uti().value_or("?") + " " + each.enumDefinition()->name().value_or("?") + " " +
           std::to_string(each.properties()->size()) + " " + std::string(each.element()->name());
  };
  const auto drop = [&](int how) {
    switch (how) {
      case 0:
        return table._reset();
      case 1:
        return static_cast<void>(load({profile("z")}));
      case 2:
        return static_cast<void>(load({profileText("<enum/>", "", "", "")}));
      default:
        return clear();
    }
  };
  for (int how = 0; how < 4; ++how) {
    EXPECT_EQ(load({profile("a")}), "loaded");
    const auto found = table.characteristicWithRef("20a", QVTransport::btle);
    const auto required = table.serviceWithRef("30a", QVTransport::ip)->required();
    const auto service = table.parentServiceWithRef("sa")->ip();
    const auto list = table.transportCharacteristics();
    drop(how);
    EXPECT_EQ(read(*found), "Ca 20a com.a Ea 1 btle");
    EXPECT_EQ(read(*required->at(0)), "Ca 10a com.a Ea 1 ip");
    EXPECT_EQ(read(*list->at(0)), "Ca 10a com.a Ea 1 ip");
    EXPECT_EQ(found->parent()->ip(), required->at(0));
    EXPECT_EQ(service->name(), "Sa");
    EXPECT_EQ(service->uuid(), "30a");
  }
  // After a reset the table's own list is such a holder.
  EXPECT_EQ(load({profile("a")}), "loaded");
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
  const auto tlv8s = [](int count) {
    std::string text;
    for (int i = 0; i < count; ++i) {
      text += "<tlv8 name='T" + std::to_string(i) + "'><fields>" +
              (i == 0 ? ""
                      : "<field type='0x01' name='f' format='tlv8' tlv8='T" +
                            std::to_string(i - 1) + "'/>") +
              "</fields></tlv8>";
    }
    return profileText("", text, "", "");
  };
  EXPECT_EQ(load({tlv8s(30000)}), "loaded");
  const auto last = table.tlv8WithName("T29999");
  EXPECT_EQ(last->fields()->at(0)->tlv8Definition(), table.tlv8WithName("T29998"));
}

}  // namespace
}  // namespace qv
