#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using test::documentFrom;
using test::profileText;

TEST(SymbolTableTest, loadsAProfile) {
  auto& table = QVSymbolTable::sharedSymbolTable();
  std::optional<std::string> error = "old";
  const std::shared_ptr<const XMLDocument> documents[] = {documentFrom(profileText(
      R"(<enum name="E" format="uint8"><values><value value="1" symbol="A"/></values></enum>)",
      R"(<tlv8 name="T"><fields><field type="0x01" name="f" format="uint8"/></fields></tlv8>)",
      R"(<characteristic name="On"><type uuid="25" uti="On.uti"/><format name="bool"/><ip/><btle><type uuid="B25"/></btle></characteristic>)",
      R"(<service name="S"><type uuid="3E"/><ip><required><characteristic ref="ON"/></required></ip></service>)"))};
  EXPECT_TRUE(table.loadDocuments(documents, &error)) << *error;
  EXPECT_EQ(error, std::nullopt);
  EXPECT_EQ(table.characteristicWithRef("B25", QVTransport::btle)->name(), "On");
  EXPECT_EQ(table.parentServiceWithRef("3e")->ip()->required()->at(0)->uti(), "on.uti");
}

}  // namespace
}  // namespace qv
