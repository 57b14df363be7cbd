#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"

namespace qv {

namespace {

// Nothing but blanks, slashes and hyphens is removed, and nothing is made unique.
std::optional<std::string> symbolNameFor(std::optional<std::string_view> name,
                                         std::string_view prefix = {}) {
  if (!name) return std::nullopt;
  std::string symbol(prefix);
  std::copy_if(name->begin(), name->end(), std::back_inserter(symbol),
               [](char c) { return c != ' ' && c != '/' && c != '-'; });
  return symbol;
}

}  // namespace

// Deliberate: the transport is a prefix, and services have none.
std::optional<std::string> QVCharacteristicXMLObject::symbolName() const {
  const auto above = parent();
  if (above != nullptr && above->ip().get() == this) return symbolNameFor(nameView(), "IP");
  if (above != nullptr && above->btle().get() == this) return symbolNameFor(nameView(), "BTLE");
  return symbolNameFor(nameView());
}

std::optional<std::string> QVServiceXMLObject::symbolName() const {
  return symbolNameFor(nameView());
}

std::optional<std::string> QVTLV8XMLObject::symbolName() const {
  return symbolNameFor(name_);
}

std::optional<std::string> QVTLV8FieldXMLObject::symbolName() const {
  return symbolNameFor(name_);
}

}  // namespace qv
