#include "qvparsersupport/json/vocabulary_strings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>
#include <vector>

#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/vocabulary/format_strings.h"

namespace qv {

namespace {

std::optional<std::string_view> stringOf(const QVIPJSONObject& object) {
  return object.jsonObject() ? object.jsonObject()->asString() : std::nullopt;
}

template <class Type>
std::uint8_t narrow(Type type) {
  return static_cast<std::uint8_t>(type);
}

template <class Row>
std::string oneOf(std::span<const Row> rows) {
  std::vector<std::string_view> strings;
  for (const Row& row : rows) strings.push_back(row.string);
  return fmt::format("one of {}", fmt::join(strings, ", "));
}

}  // namespace

void QVIPFormatString::initWithJSONObject(std::optional<Value> jsonObject,
                                          const std::shared_ptr<QVIPJSONObject>& parent,
                                          QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, QVIPJSONValueType::string);
  formatType_ = narrow(QVFormatStrings::formatTypeForString(stringOf(*this)));
  if (formatType() == QVFormatType::none) setErrorDescription("Invalid format string.");
}

std::string QVIPFormatString::expectation() const {
  return oneOf(QVFormatStrings::_formatStringMapping());
}

void QVIPPermissionString::initWithJSONObject(std::optional<Value> jsonObject,
                                              const std::shared_ptr<QVIPJSONObject>& parent,
                                              QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, QVIPJSONValueType::string);
  permissionType_ = narrow(QVPermissionStrings::permissionTypeForString(stringOf(*this)));
  if (permissionType() == QVPermissionType::none) setErrorDescription("Invalid permission string.");
}

std::string QVIPPermissionString::expectation() const {
  return oneOf(QVPermissionStrings::_permissionStringMapping());
}

void QVIPUnitString::initWithJSONObject(std::optional<Value> jsonObject,
                                        const std::shared_ptr<QVIPJSONObject>& parent,
                                        QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, QVIPJSONValueType::string);
  unitType_ = narrow(QVUnitStrings::unitTypeForString(stringOf(*this)));
  if (unitType() == QVUnitType::none) setErrorDescription("Invalid unit string.");
}

std::string QVIPUnitString::expectation() const {
  return oneOf(QVUnitStrings::_unitStringMapping());
}

void QVIPUUIDTypeString::initWithJSONObject(std::optional<Value> jsonObject,
                                            const std::shared_ptr<QVIPJSONObject>& parent,
                                            QVIPJSONValueType) {
  QVIPJSONObject::initWithJSONObject(std::move(jsonObject), parent, QVIPJSONValueType::string);
  service_.reset();
  characteristic_.reset();
  const auto text = stringOf(*this);
  QVTypes::FullUUIDRoom room;
  auto uuid = text ? QVTypes::plainFullVELUUID(*text, room) : std::nullopt;
  std::optional<std::string> full;
  if (!uuid) {
    std::optional<std::string> fault;
    full = QVTypes::fullVELUUIDFromShortUUID(type(), &fault);
    if (fault) setErrorDescription(std::move(fault));
    if (!full) return;
    uuid = *full;
  }
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  service_ = table.findService(*uuid, QVTransport::ip);
  characteristic_ = table.findCharacteristic(*uuid, QVTransport::ip);
}

std::optional<std::string> QVIPUUIDTypeString::fullUUID() const {
  return QVTypes::fullVELUUIDFromShortUUID(type());
}

std::optional<std::string> QVIPUUIDTypeString::name() const {
  if (service_ != nullptr) return service_->name();
  return characteristic_ == nullptr ? std::nullopt : characteristic_->name();
}

std::optional<std::string> QVIPUUIDTypeString::type() const {
  const auto text = stringOf(*this);
  return text ? std::optional(std::string(*text)) : std::nullopt;
}

std::string QVIPUUIDTypeString::expectation() const {
  return "a UUID of up to 8 hexadecimal digits, or a full one of 36 characters";
}

}  // namespace qv
