#include "tools/qvcheck/json_notes.h"

#include <fmt/format.h>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/transformers/transformer.h"
#include "tools/qvcheck/escape.h"
#include "tools/qvcheck/report_texts.h"
#include "tools/qvcheck/tlv8_view.h"
#include "tools/qvcheck/view_page.h"

namespace qv::check {

namespace {

constexpr std::size_t kMostBytesInLine = 12;

std::optional<Number> numberUnder(const Value& dictionary, std::string_view key) {
  const auto value = dictionary.find(key);
  return value ? value->asNumber() : std::nullopt;
}

std::string idText(const std::optional<Number>& id) {
  return id ? id->text() : "?";
}

// The id of the accessory that the object belongs to.
std::optional<Number> accessoryOf(const QVIPJSONObject& object) {
  for (auto above = object.parent(); above != nullptr; above = above->parent()) {
    if (dynamic_cast<const QVIPAccessoryObject*>(above.get()) != nullptr && above->jsonObject()) {
      return numberUnder(*above->jsonObject(), "aid");
    }
  }
  return std::nullopt;
}

std::string nameFor(const std::shared_ptr<QVIPUUIDTypeString>& type) {
  return type != nullptr && type->name() ? "  " + escaped(*type->name()) : std::string();
}

// Of an entry of a read, a write or an event. Null for everything that does not give both ids.
const KnownCharacteristic* knownFor(const Value& entry, const AttributeNames& names) {
  const auto aid = numberUnder(entry, "aid");
  const auto iid = numberUnder(entry, "iid");
  return aid && iid ? names.find(aid->uint64Value(), iid->uint64Value()) : nullptr;
}

std::string bytesText(ByteView bytes) {
  return bytes.empty() || bytes.size() > kMostBytesInLine ? counted(bytes.size(), "byte")
                                                          : "bytes " + hexText(bytes);
}

// By its definition and its transformer, either of which may be null.
ValueNote noteForValue(const Value& raw, const QVCharacteristicXMLObject* definition,
                       const QVTransformer* transformer) {
  ValueNote note;
  const auto decoded =
      transformer != nullptr ? transformer->reverseTransformValue(raw) : std::optional<Value>();
  if (!decoded) return note;
  // The text that the transport carries stands for itself, so it is decoded here.
  if (transformer->format() == QVFormatType::data && decoded->isString()) {
    if (const auto bytes = base64Decoded(*decoded->asString())) note.text = bytesText(*bytes);
  }
  note.packet = std::dynamic_pointer_cast<QVTLV8Packet>(decoded->asObject());
  if (definition == nullptr) return note;
  if (note.packet != nullptr) {
    note.structure = definition->tlv8Definition();
    note.text = "TLV8";
    if (note.structure != nullptr) {
      note.text = "TLV8 structure " + escaped(note.structure->name().value_or("?"));
    }
  } else if (const auto symbols = symbolsFor(definition->enumDefinition().get(), *decoded)) {
    note.text = *symbols;
  } else if (decoded->isNumber() && definition->unit()) {
    note.text = escaped(*definition->unit());
  }
  return note;
}

// Status codes that have a published name.
std::string statusText(const Value& value) {
  const auto number = value.asNumber();
  if (!number) return {};
  if (*number == Number::int64(0)) return "success";
  if (*number == Number::int64(VELIPStatusErrorCodeInvalidParameter)) return "invalid parameter";
  if (*number == Number::int64(VELIPStatusErrorCodeInsufficientPrivileges)) {
    return "insufficient privileges";
  }
  return {};
}

}  // namespace

std::string labelOf(const Value& dictionary, const QVIPJSONObject* object,
                    const AttributeNames& names) {
  const auto aid = numberUnder(dictionary, "aid");
  const auto iid = numberUnder(dictionary, "iid");
  if (dynamic_cast<const QVIPAccessoryObject*>(object) != nullptr) {
    return fmt::format("accessory {}", idText(aid));
  }
  if (const auto* service = dynamic_cast<const QVIPServiceObject*>(object)) {
    return fmt::format("service {}.{}{}", idText(accessoryOf(*object)), idText(iid),
                       nameFor(service->typeValue()));
  }
  if (const auto* characteristic = dynamic_cast<const QVIPCharacteristicObject*>(object)) {
    return fmt::format("characteristic {}.{}{}", idText(accessoryOf(*object)), idText(iid),
                       nameFor(characteristic->typeValue()));
  }
  if (!aid || !iid) return {};
  const KnownCharacteristic* known = knownFor(dictionary, names);
  return fmt::format("characteristic {}.{}{}", idText(aid), idText(iid),
                     known == nullptr ? "" : "  " + escaped(known->name));
}

ValueNote noteOf(const Value& dictionary, const QVIPJSONObject* object, std::string_view key,
                 const Value& value, const QVIPJSONObject* child, const AttributeNames& names) {
  if (const auto* type = dynamic_cast<const QVIPUUIDTypeString*>(child)) {
    if (type->name()) return {escaped(*type->name()), nullptr, nullptr};
    return {type->fullUUID() ? "in no profile" : "", nullptr, nullptr};
  }
  if (key == "status") return {statusText(value), nullptr, nullptr};
  if (key != "value") return {};
  if (const auto* own = dynamic_cast<const QVIPCharacteristicObject*>(object)) {
    return noteForValue(value, own->definition().get(), own->transformer().get());
  }
  const KnownCharacteristic* known = knownFor(dictionary, names);
  return known == nullptr ? ValueNote()
                          : noteForValue(value, known->definition.get(), known->transformer.get());
}

}  // namespace qv::check
