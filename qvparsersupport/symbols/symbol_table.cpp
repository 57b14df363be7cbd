#include "qvparsersupport/symbols/symbol_table.h"

#include <fmt/format.h>

#include <string>
#include <utility>

#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/symbols/table_state.h"

namespace qv {

namespace {

// A ref in lower case, without a copy when it is that already.
class LowercaseRef {
 public:
  explicit LowercaseRef(std::string_view ref) : view_(ref) {
    if (isPlainLowercase(ref)) return;
    text_ = lowercased(ref);
    view_ = text_;
  }
  LowercaseRef(const LowercaseRef&) = delete;
  LowercaseRef& operator=(const LowercaseRef&) = delete;

  std::string_view view() const { return view_; }

 private:
  std::string text_;
  std::string_view view_;
};

std::shared_ptr<const XMLElement> handleOf(const XMLElement* element) {
  return element == nullptr ? nullptr : element->handle();
}

}  // namespace

QVSymbolTable::QVSymbolTable() : state_(std::make_unique<State>()) {}

QVSymbolTable::~QVSymbolTable() = default;

QVSymbolTable& QVSymbolTable::sharedSymbolTable() {
  static auto* const table = new QVSymbolTable();
  return *table;
}

std::shared_ptr<QVEnumXMLObject> QVSymbolTable::enumWithName(std::string_view name,
                                                             const XMLElement* user) const {
  auto found = state_->enums.find(name);
  if (found == nullptr && state_->loadInProgress) {
    raiseLoadAssertion(fmt::format("Failed to find enum with name {}", name), handleOf(user));
  }
  return found;
}

std::shared_ptr<QVTLV8XMLObject> QVSymbolTable::tlv8WithName(std::string_view name,
                                                             const XMLElement* user) const {
  auto found = findTLV8(name);
  if (found == nullptr && state_->loadInProgress) {
    raiseLoadAssertion(
        fmt::format("Failed to find tlv8 with name {} (Must be defined before usage as sub-tlv)",
                    name),
        handleOf(user));
  }
  return found;
}

std::shared_ptr<QVCharacteristicXMLObject> QVSymbolTable::parentCharacteristicWithRef(
    std::string_view ref, const XMLElement* user) const {
  const LowercaseRef lowercase(ref);
  auto found = state_->characteristics.find(lowercase.view());
  if (found == nullptr && state_->loadInProgress) {
    raiseLoadAssertion(
        fmt::format("Failed to find parent characteristic with ref {}", lowercase.view()),
        handleOf(user));
  }
  return found;
}

std::shared_ptr<QVCharacteristicXMLObject> QVSymbolTable::characteristicWithRef(
    std::string_view ref, QVTransport transport) const {
  auto found = findCharacteristic(ref, transport);
  if (found == nullptr && state_->loadInProgress) {
    raiseLoadAssertion(
        fmt::format("Failed to find characteristic with ref {}", LowercaseRef(ref).view()));
  }
  return found;
}

std::shared_ptr<QVServiceXMLObject> QVSymbolTable::parentServiceWithRef(
    std::string_view ref) const {
  const LowercaseRef lowercase(ref);
  auto found = state_->services.find(lowercase.view());
  if (found == nullptr && state_->loadInProgress) {
    raiseLoadAssertion(fmt::format("Failed to find service with ref {}", lowercase.view()));
  }
  return found;
}

std::shared_ptr<QVServiceXMLObject> QVSymbolTable::serviceWithRef(std::string_view ref,
                                                                  QVTransport transport) const {
  const auto parent = parentServiceWithRef(ref);
  if (parent == nullptr) return nullptr;
  switch (transport) {
    case QVTransport::btle: {
      auto instance = parent->btle();
      if (instance == nullptr && state_->loadInProgress) {
        raiseLoadAssertion("Service must have BLE definition during load", parent->element());
      }
      return instance;
    }
    case QVTransport::ip: {
      auto instance = parent->ip();
      if (instance == nullptr && state_->loadInProgress) {
        raiseLoadAssertion("Service must have IP definition during load", parent->element());
      }
      return instance;
    }
    default:
      return nullptr;
  }
}

std::shared_ptr<QVTLV8XMLObject> QVSymbolTable::findTLV8(std::string_view name) const {
  return state_->tlv8s.find(name);
}

std::shared_ptr<QVCharacteristicXMLObject> QVSymbolTable::findCharacteristic(
    std::string_view ref, QVTransport transport) const {
  const LowercaseRef lowercase(ref);
  return state_->transportCharacteristics.find({lowercase.view(), transport});
}

std::shared_ptr<QVServiceXMLObject> QVSymbolTable::findService(std::string_view ref,
                                                               QVTransport transport) const {
  const LowercaseRef lowercase(ref);
  const auto parent = state_->services.find(lowercase.view());
  if (parent == nullptr) return nullptr;
  if (transport == QVTransport::ip) return parent->ip();
  return transport == QVTransport::btle ? parent->btle() : nullptr;
}

std::shared_ptr<const XMLDocument> QVSymbolTable::document() const {
  return state_->document;
}

bool QVSymbolTable::loadInProgress() const {
  return state_->loadInProgress;
}

DefinitionList<QVEnumXMLObject> QVSymbolTable::enums() const {
  return state_->enums.list();
}

DefinitionList<QVTLV8XMLObject> QVSymbolTable::tlv8s() const {
  return state_->tlv8s.list();
}

DefinitionList<QVCharacteristicXMLObject> QVSymbolTable::characteristics() const {
  return state_->characteristics.list();
}

DefinitionList<QVCharacteristicXMLObject> QVSymbolTable::transportCharacteristics() const {
  return state_->transportCharacteristics.list();
}

DefinitionList<QVServiceXMLObject> QVSymbolTable::services() const {
  return state_->services.list();
}

const std::optional<QVLoadFault>& QVSymbolTable::lastLoadFault() const {
  return state_->lastLoadFault;
}

void QVSymbolTable::setDocument(std::shared_ptr<const XMLDocument> document) {
  state_->document = std::move(document);
}

void QVSymbolTable::setLoadInProgress(bool loadInProgress) {
  state_->loadInProgress = loadInProgress;
}

void QVSymbolTable::setEnums(const DefinitionList<QVEnumXMLObject>& enums) {
  state_->enums.set(enums);
}

void QVSymbolTable::setTlv8s(const DefinitionList<QVTLV8XMLObject>& tlv8s) {
  state_->tlv8s.set(tlv8s);
}

void QVSymbolTable::setCharacteristics(
    const DefinitionList<QVCharacteristicXMLObject>& characteristics) {
  state_->characteristics.set(characteristics);
}

void QVSymbolTable::setTransportCharacteristics(
    const DefinitionList<QVCharacteristicXMLObject>& characteristics) {
  state_->transportCharacteristics.set(characteristics);
}

void QVSymbolTable::setServices(const DefinitionList<QVServiceXMLObject>& services) {
  state_->services.set(services);
}

}  // namespace qv
