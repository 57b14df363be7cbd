#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/json/ip_json_object.h"
#include "qvparsersupport/json/vocabulary_strings.h"
#include "qvparsersupport/transformers/transformer.h"

namespace qv {

// The accessory attribute database: accessories with their services and characteristics. Each class
// expects a JSON object, whatever kind the caller asks for, and reads its keys in the order in
// which its properties stand below. A property is null when its key was absent or faulty, except
// that `valueValue` may hold what was found beside its fault.

class QV_EXPORT QVIPCharacteristicObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::shared_ptr<QVIPUUIDTypeString> typeValue() const;
  std::optional<Number> iidValue() const;
  std::optional<std::vector<std::shared_ptr<QVIPPermissionString>>> permsValue() const;
  std::optional<Value> evValue() const;  // a number that is 0 or 1, or the null Value
  std::shared_ptr<QVIPFormatString> formatValue() const;
  std::shared_ptr<QVIPUnitString> unitValue() const;
  std::optional<Number> minValueValue() const;
  std::optional<Number> maxValueValue() const;
  std::optional<Number> minStepValue() const;
  std::optional<Number> maxLenValue() const;
  std::optional<Number> maxDataLenValue() const;
  std::optional<std::string> descriptionValue() const;
  std::optional<QVIPJSONObjectList> validvaluesValue() const;
  std::optional<QVIPJSONObjectList> validvaluesrangeValue() const;
  // The value as its transformer decodes it; read only when a permission is "pr".
  std::optional<Value> valueValue() const;

  // Of the characteristic with this UUID on the IP transport, as the shared symbol table had it
  // when the object was built; null when it had none, which is no fault.
  const std::shared_ptr<QVCharacteristicXMLObject>& definition() const { return definition_; }
  // For the definition's format, or without a definition for the format of the "format" string;
  // null when there is none.
  const std::shared_ptr<const QVTransformer>& transformer() const { return transformer_; }

  // The definition's, or else that of the "format" string; `none` when neither exists.
  QVFormatType format() const;
  // "maxLen", or else the definition's; null when neither exists.
  std::optional<Number> maximumLength() const;
  std::shared_ptr<QVTLV8XMLObject> tlv8Definition() const;
  std::shared_ptr<QVEnumXMLObject> enumDefinition() const;
  // The kind of JSON value that a format takes; a null object counts as format `none`.
  static QVIPJSONValueType QVIPFormatStringToQVIPJSONValueType(const QVIPFormatString* format);

  std::string expectationForKey(std::string_view key, QVIPJSONValueType type) const override;
  std::shared_ptr<const QVXMLObject> governingDefinition() const override;

 private:
  void findDefinitionAndTransformer();
  bool hasReadPermission() const;
  void readValue();
  std::optional<Value> decodedValue(const std::optional<Value>& raw, ErrorSlot fault) const;

  std::shared_ptr<QVCharacteristicXMLObject> definition_;
  std::shared_ptr<const QVTransformer> transformer_;
  bool isReadable_ = false;  // a permission is "pr"
};

class QV_EXPORT QVIPServiceObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::shared_ptr<QVIPUUIDTypeString> typeValue() const;
  std::optional<Number> iidValue() const;
  std::optional<std::vector<std::shared_ptr<QVIPCharacteristicObject>>> characteristicsValue()
      const;
  std::optional<Value> hiddenValue() const;   // a number that is 0 or 1, or the null Value
  std::optional<Value> primaryValue() const;  // the same
  std::optional<QVIPJSONObjectList> linkedValue() const;

  std::string expectationForKey(std::string_view key, QVIPJSONValueType type) const override;
};

class QV_EXPORT QVIPAccessoryObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<Number> aidValue() const;
  std::optional<std::vector<std::shared_ptr<QVIPServiceObject>>> servicesValue() const;
};

class QV_EXPORT QVIPAttributeDatabaseObject : public QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<Value> jsonObject,
                          const std::shared_ptr<QVIPJSONObject>& parent,
                          QVIPJSONValueType type) override;

  std::optional<std::vector<std::shared_ptr<QVIPAccessoryObject>>> accessoriesValue() const;
};

}  // namespace qv
