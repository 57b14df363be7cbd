#include "benchmarks/support/json_schemas.h"

namespace qv::bench {

namespace {

const std::string kBoolean =
    R"({"type": ["boolean", "integer", "null"], "minimum": 0, "maximum": 1})";
const std::string kNumber = R"({"type": ["number", "boolean"]})";
const std::string kText = R"({"type": "string"})";
const std::string kUUID =
    R"({"type": "string", "anyOf": [{"maxLength": 8}, {"minLength": 36, "maxLength": 36}]})";

std::string array(const std::string& items) {
  return R"({"type": "array", "items": )" + items + "}";
}

std::string object(const std::string& required, const std::string& properties,
                   const std::string& more = {}) {
  return R"({"type": "object", "required": [)" + required + R"(], "properties": {)" + properties +
         "}" + more + "}";
}

std::string valueRule(const std::string& formats, const std::string& value) {
  return R"({"properties": {"format": {"enum": [)" + formats + R"(]}, "value": )" + value + "}}";
}

std::string valueRules() {
  return R"(, "anyOf": [)" + valueRule(R"("bool")", kBoolean) + ", " +
         valueRule(R"("int", "uint8", "uint16", "uint32", "uint64")",
                   R"({"type": ["integer", "boolean", "null"]})") +
         ", " + valueRule(R"("float")", R"({"type": ["number", "boolean", "null"]})") + ", " +
         valueRule(R"("string", "date", "tlv8", "data")", kText) + ", " +
         valueRule(R"("array")", R"({"type": "array"})") + ", " + valueRule(R"("dict")", "{}") +
         "]";
}

std::string characteristicSchema(bool withValueRules) {
  const std::string properties =
      R"("type": )" + kUUID + R"(, "iid": )" + kNumber + R"(, "perms": )" +
      array(R"({"enum": ["pr", "pw", "ev", "ur", "aa", "hd", "tw"]})") + R"(, "ev": )" + kBoolean +
      R"(, "format": {"enum": ["bool", "int", "uint8", "uint16", "uint32", "uint64", "float",
           "string", "date", "tlv8", "data", "array", "dict"]},
         "unit": {"enum": ["celsius", "percentage", "arcdegrees", "lux", "seconds"]},
         "minValue": )" +
      kNumber + R"(, "maxValue": )" + kNumber + R"(, "minStep": )" + kNumber + R"(, "maxLen": )" +
      kNumber + R"(, "maxDataLen": )" + kNumber + R"(, "description": )" + kText +
      R"(, "valid-values": {"type": "array"}, "valid-values-range": {"type": "array"})";
  return object(R"("type", "iid", "perms", "format")", properties,
                withValueRules ? valueRules() : "");
}

std::string entriesSchema(const std::string& required, const std::string& moreProperties) {
  return object(
      R"("characteristics")",
      R"("characteristics": )" + array(object(required, R"("aid": )" + kNumber + R"(, "iid": )" +
                                                            kNumber + moreProperties)));
}

}  // namespace

std::string databaseSchema(bool withValueRules) {
  const std::string service = object(R"("type", "iid", "characteristics")",
                                     R"("type": )" + kUUID + R"(, "iid": )" + kNumber +
                                         R"(, "hidden": )" + kBoolean + R"(, "primary": )" +
                                         kBoolean + R"(, "linked": {"type": "array"},
                 "characteristics": )" + array(characteristicSchema(withValueRules)));
  const std::string accessory =
      object(R"("aid", "services")", R"("aid": )" + kNumber + R"(, "services": )" + array(service));
  return object(R"("accessories")", R"("accessories": )" + array(accessory));
}

std::string readSchema() {
  return entriesSchema(R"("aid", "iid")", "");
}

std::string readWithStatusSchema() {
  return entriesSchema(R"("aid", "iid", "status")", R"(, "status": )" + kNumber);
}

std::string writeSchema() {
  return entriesSchema(R"("aid", "iid")", R"(, "authData": )" + kText + R"(, "remote": )" +
                                              kBoolean + R"(, "ev": )" + kBoolean);
}

std::string objectSchema() {
  return R"({"type": "object"})";
}

}  // namespace qv::bench
