#pragma once

#include <initializer_list>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/definitions/characteristic_xml_object.h"

namespace qv::test {

inline std::shared_ptr<QVEnumXMLObject> enumOf(QVFormatType format,
                                               std::initializer_list<std::string> values) {
  std::vector<std::shared_ptr<QVEnumValueXMLObject>> list;
  for (const std::string& value : values) {
    list.push_back(std::make_shared<QVEnumValueXMLObject>());
    list.back()->setValue(value);
  }
  auto definition = std::make_shared<QVEnumXMLObject>();
  definition->setName("Mode");
  definition->setFormat(format);
  definition->setValues(
      std::make_shared<const std::vector<std::shared_ptr<QVEnumValueXMLObject>>>(std::move(list)));
  return definition;
}

inline std::shared_ptr<QVTLV8FieldXMLObject> fieldOf(
    std::uint8_t type, QVFormatType format, std::optional<Number> maximumLength = std::nullopt,
    std::shared_ptr<QVEnumXMLObject> enumObject = nullptr) {
  auto field = std::make_shared<QVTLV8FieldXMLObject>();
  field->setType(type);
  field->setFormat(format);
  field->setMaximumLength(maximumLength);
  field->setEnumObject(std::move(enumObject));
  return field;
}

inline std::shared_ptr<QVTLV8XMLObject> tlv8Of(
    std::vector<std::shared_ptr<QVTLV8FieldXMLObject>> fields) {
  auto definition = std::make_shared<QVTLV8XMLObject>();
  definition->setFields(std::make_shared<const std::vector<std::shared_ptr<QVTLV8FieldXMLObject>>>(
      std::move(fields)));
  return definition;
}

}  // namespace qv::test
