#pragma once

#include <rapidjson/document.h>

#include <string>
#include <string_view>
#include <valijson/adapters/rapidjson_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include "benchmarks/support/require.h"

namespace qv::bench {

// A JSON text to a verdict with a RapidJSON document and valijson's validator.
class ValijsonPeer {
 public:
  explicit ValijsonPeer(const std::string& schema) {
    rapidjson::Document document;
    document.Parse(schema.c_str());
    require(!document.HasParseError(), schema);
    valijson::SchemaParser(valijson::SchemaParser::kDraft4)
        .populateSchema(valijson::adapters::RapidJsonAdapter(document), schema_);
  }

  bool accepts(std::string_view text) {
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    if (document.HasParseError()) return false;
    return validator_.validate(schema_, valijson::adapters::RapidJsonAdapter(document), nullptr);
  }

 private:
  valijson::Schema schema_;
  valijson::Validator validator_;
};

}  // namespace qv::bench
