#pragma once

#include <string>

#include "benchmarks/support/profile_generator.h"
#include "benchmarks/support/require.h"
#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/symbols/symbol_table.h"

namespace qv::bench {

// Loads a generated profile into the shared table.
inline void loadGeneratedProfile(std::size_t characteristics) {
  const std::string text = generatedProfile(characteristics);
  const std::shared_ptr<const XMLDocument> documents[] = {
      parseXML(bytesOf(text), "generated.xml").document};
  require(QVSymbolTable::sharedSymbolTable().loadDocuments(documents), "the profile loads");
}

}  // namespace qv::bench
