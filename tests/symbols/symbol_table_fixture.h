#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "tests/support/xml_fragment.h"

namespace qv::test {

// The shared table, empty before and after each test, and the lines that it logs.
class SymbolTableFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    clear();
    setProcessLogSink([this](std::string_view line) { log.emplace_back(line); });
  }
  void TearDown() override {
    setProcessLogSink({});
    clear();
  }
  void clear() {
    table.setLoadInProgress(false);
    table._reset();
    table.setTransportCharacteristics(nullptr);
    table.setDocument(nullptr);
  }

  // The error description after the load; "loaded" when there is none.
  std::string load(const std::vector<std::string>& profiles) {
    std::vector<std::shared_ptr<const XMLDocument>> documents;
    for (const std::string& text : profiles) {
      documents.push_back(documentFrom(text, "p" + std::to_string(documents.size()) + ".xml"));
    }
    log.clear();
    std::optional<std::string> error = "from before";
    const bool loaded = table.loadDocuments(documents, &error);
    EXPECT_EQ(loaded, !error.has_value());
    EXPECT_EQ(loaded, !table.lastLoadFault().has_value());
    if (!loaded) {
      EXPECT_EQ(table.lastLoadFault()->reason, error);
      EXPECT_EQ(table.lastLoadFault()->document, table.document());
    }
    EXPECT_FALSE(table.loadInProgress());
    return error.value_or("loaded");
  }

  QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  std::vector<std::string> log;
};

}  // namespace qv::test
