#pragma once

#ifdef __SSE2__
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/document.h>
#include <rapidjson/schema.h>

#include <string>
#include <string_view>

#include "benchmarks/support/require.h"

namespace qv::bench {

// A JSON text to a verdict with a RapidJSON document and its schema validator, which is made once.
class RapidJSONPeer {
 public:
  explicit RapidJSONPeer(const std::string& schema)
      : schema_(parsed(schema)), validator_(schema_) {}

  bool accepts(std::string_view text) {
    rapidjson::Document document;
    document.Parse(text.data(), text.size());
    if (document.HasParseError()) return false;
    validator_.Reset();
    return document.Accept(validator_) && validator_.IsValid();
  }

 private:
  static rapidjson::Document parsed(const std::string& schema) {
    rapidjson::Document document;
    document.Parse(schema.c_str());
    require(!document.HasParseError(), schema);
    return document;
  }

  rapidjson::SchemaDocument schema_;
  rapidjson::SchemaValidator validator_;
};

}  // namespace qv::bench
