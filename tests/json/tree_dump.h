#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <typeinfo>

#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/json/attribute_database_objects.h"
#include "qvparsersupport/json/characteristic_access_objects.h"

namespace qv::test {

// The value that the text makes; nothing for "no value".
inline std::optional<Value> jsonFrom(std::string_view text) {
  if (text == "bytes") return Value::bytes({});
  auto parsed = parseJSON(bytesOf(text));
  EXPECT_TRUE(parsed.value || text == "no value") << text << ": " << parsed.error;
  return std::move(parsed.value);
}

inline std::string typeText(QVIPJSONValueType type) {
  return std::to_string(static_cast<int>(type));
}

inline std::string shown(const std::optional<Value>& value) {
  return value ? jsonText(*value) : "";
}
inline std::string shown(const std::optional<Number>& number) {
  return number ? jsonText(Value(*number)) : "";
}
inline std::string shown(const std::optional<std::string>& text) {
  return text ? jsonText(Value::string(*text)) : "";
}
template <class Object>
std::string shown(const std::shared_ptr<Object>& object) {
  return object == nullptr ? "" : std::to_string(reinterpret_cast<std::uintptr_t>(object.get()));
}
template <class Object>
std::string shown(const std::optional<std::vector<std::shared_ptr<Object>>>& objects) {
  std::string out = objects ? "list" : "";
  if (objects) {
    for (const auto& object : *objects) out += " " + shown(object);
  }
  return out;
}

// The properties of an object that have a value, by name.
using Properties = std::map<std::string, std::string>;

inline Properties propertiesOf(const QVIPJSONObject& object) {
  Properties all;
#define QV_CLASS(name) if (const auto* o = dynamic_cast<const name*>(&object))
#define QV_PROPERTY(name) all[#name] = shown(o->name())
  QV_CLASS(QVIPAttributeDatabaseObject) QV_PROPERTY(accessoriesValue);
  QV_CLASS(QVIPAccessoryObject) QV_PROPERTY(aidValue), QV_PROPERTY(servicesValue);
  QV_CLASS(QVIPServiceObject) {
    QV_PROPERTY(typeValue), QV_PROPERTY(iidValue), QV_PROPERTY(characteristicsValue);
    QV_PROPERTY(hiddenValue), QV_PROPERTY(primaryValue), QV_PROPERTY(linkedValue);
  }
  QV_CLASS(QVIPCharacteristicObject) {
    QV_PROPERTY(typeValue), QV_PROPERTY(iidValue), QV_PROPERTY(permsValue), QV_PROPERTY(evValue);
    QV_PROPERTY(formatValue), QV_PROPERTY(unitValue), QV_PROPERTY(minValueValue);
    QV_PROPERTY(maxValueValue), QV_PROPERTY(minStepValue), QV_PROPERTY(maxLenValue);
    QV_PROPERTY(maxDataLenValue), QV_PROPERTY(descriptionValue), QV_PROPERTY(validvaluesValue);
    QV_PROPERTY(validvaluesrangeValue), QV_PROPERTY(valueValue);
  }
  QV_CLASS(QVIPCharacteristicReadObject) {
    QV_PROPERTY(iidValue), QV_PROPERTY(aidValue), QV_PROPERTY(valueValue);
  }
  QV_CLASS(QVIPCharacteristicReadObjectWithStatus) {
    QV_PROPERTY(iidValue), QV_PROPERTY(aidValue), QV_PROPERTY(statusValue);
    QV_PROPERTY(valueValue);
  }
  QV_CLASS(QVIPMultipleCharacteristicReadObject) {
    QV_PROPERTY(statusValue), QV_PROPERTY(characteristicsValue);
  }
  QV_CLASS(QVIPCharacteristicWriteObject) {
    QV_PROPERTY(iidValue), QV_PROPERTY(aidValue), QV_PROPERTY(authDataValue);
    QV_PROPERTY(remoteValue), QV_PROPERTY(evValue), QV_PROPERTY(valueValue);
  }
  QV_CLASS(QVIPMultipleCharacteristicWriteObject) QV_PROPERTY(characteristicsValue);
#undef QV_CLASS
#undef QV_PROPERTY
  std::erase_if(all, [](const auto& property) { return property.second.empty(); });
  return all;
}

// What the class found out beside its properties.
inline std::string resultsOf(const QVIPJSONObject& object) {
  const auto number = [](auto result) { return " " + std::to_string(static_cast<int>(result)); };
  if (const auto* o = dynamic_cast<const QVIPFormatString*>(&object))
    return number(o->formatType());
  if (const auto* o = dynamic_cast<const QVIPUnitString*>(&object)) return number(o->unitType());
  if (const auto* o = dynamic_cast<const QVIPPermissionString*>(&object)) {
    return number(o->permissionType());
  }
  if (const auto* o = dynamic_cast<const QVIPUUIDTypeString*>(&object)) {
    return " " + o->type().value_or("null") + " " + o->fullUUID().value_or("null") + " " +
           o->name().value_or("null");
  }
  const auto* o = dynamic_cast<const QVIPCharacteristicObject*>(&object);
  if (o == nullptr) return "";
  const auto nameOf = [](const auto& definition) {
    return definition == nullptr ? "-" : definition->name().value_or("null");
  };
  return " definition " + nameOf(o->definition()) + ", transformer" +
         (o->transformer() == nullptr ? " -" : number(o->transformer()->format())) + ", format" +
         number(o->format()) + ", length " + shown(o->maximumLength()) + ", tlv8 " +
         nameOf(o->tlv8Definition()) + ", enum " + nameOf(o->enumDefinition()) + ", kind " +
         typeText(o->QVIPFormatStringToQVIPJSONValueType(o->formatValue().get()));
}

// An object and all below it: class, type, "!" where something below is faulty, results, fault;
// then its journal, a line an entry (one for absent keys in a row): key, type asked for, value, or
// the raw value that was refused, fault; then its unknown keys. Properties must hold what the
// journal says.
inline std::string dump(const QVIPJSONObject& object, const std::string& indent = "") {
  const auto faultOf = [](const auto& text) { return (text ? ": " + *text : "") + "\n"; };
  std::string name = typeid(object).name();
  name = name.substr(name.find("QV"));
  std::string out = indent + name.substr(0, name.size() - 1) + " " + typeText(object.jsonType()) +
                    (object.childObjectHasError() ? " !" : "") + resultsOf(object) +
                    faultOf(object.errorDescription());
  Properties filled;
  for (const QVIPJSONExtractedValue& entry : object.extractedValueDescriptors()) {
    EXPECT_EQ(shown(entry.jsonValue),
              shown(object.jsonObject() ? object.jsonObject()->find(entry.key) : std::nullopt));
    std::string& property = filled[QVIPJSONObject::propertyKeyForJSONKey(entry.key)];
    if (!out.ends_with('\n') && (entry.jsonValue || entry.errorDescription)) out.back() = '\n';
    out += (out.ends_with('\n') ? indent : "") + "- " + std::string(entry.key) + " " +
           typeText(entry.jsonType);
    if (const auto* value = std::get_if<Value>(&entry.value)) {
      property = jsonText(*value);
      out += " = " + property + faultOf(entry.errorDescription);
    } else if (const auto* child = std::get_if<std::shared_ptr<QVIPJSONObject>>(&entry.value)) {
      property = shown(*child);
      out += faultOf(entry.errorDescription) + dump(**child, indent + "  ");
    } else if (const auto* children = std::get_if<QVIPJSONObjectList>(&entry.value)) {
      property = shown(std::optional(*children));
      out += faultOf(entry.errorDescription);
      for (const auto& element : *children) out += dump(*element, indent + "  ");
    } else {
      out += (entry.jsonValue ? " not " + jsonText(*entry.jsonValue) : " absent") +
             faultOf(entry.errorDescription);
    }
    if (out.ends_with(" absent\n")) out.back() = ' ';
  }
  if (!out.ends_with('\n')) out.back() = '\n';
  std::erase_if(filled, [](const auto& property) { return property.second.empty(); });
  if (name.starts_with("QVIPC") || name.starts_with("QVIPM") || name.starts_with("QVIPS") ||
      name.starts_with("QVIPA")) {
    EXPECT_EQ(propertiesOf(object), filled);
  }
  if (const auto unknown = object.unknownJSONKeys()) {
    out += indent + "unknown";
    for (const std::string& key : *unknown) out += " " + key;
    out += "\n";
  }
  return out;
}

}  // namespace qv::test
