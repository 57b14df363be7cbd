#include <fmt/format.h>

#include <cstdint>
#include <memory>
#include <string>

#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/symbols/table_state.h"
#include "qvparsersupport/transformers/transformer.h"

namespace qv {

namespace {

bool hasTransformer(QVTransport transport, QVFormatType format) {
  return QVTransformer::transformerForTransport(transport, format) != nullptr;
}

QVLoadFault faultAt(const QVXMLObject& definition, std::string reason) {
  const auto& element = definition.element();
  if (element == nullptr) return {std::move(reason), nullptr, nullptr};
  return {std::move(reason), element, element->document().shared_from_this()};
}

}  // namespace

bool QVSymbolTable::_runSanityCheckWithErrorDescription(ErrorSlot errorDescription) {
  const auto gap = [&](const QVXMLObject& definition, std::string reason,
                       const std::string& details) {
    processLog(details);
    state_->lastLoadFault = faultAt(definition, reason);
    return fail(errorDescription, std::move(reason));
  };

  if (const auto& instances = state_->transportCharacteristics.list()) {
    for (const auto& each : *instances) {
      if (each == nullptr || hasTransformer(each->transport(), each->format())) continue;
      return gap(*each,
                 fmt::format("No value transformer found for characteristic '{}'",
                             textOrNull(each->name())),
                 fmt::format("Details: Transport {}, Format {}",
                             static_cast<std::int64_t>(each->transport()),
                             static_cast<std::int64_t>(each->format())));
    }
  }
  if (const auto& tlv8s = state_->tlv8s.list()) {
    for (const auto& tlv8 : *tlv8s) {
      if (tlv8 == nullptr || tlv8->fields() == nullptr) continue;
      for (const auto& field : *tlv8->fields()) {
        if (field == nullptr || hasTransformer(QVTransport::tlv8, field->format())) continue;
        return gap(*field,
                   fmt::format("No tlv8 value transformer found for field '{}'",
                               textOrNull(field->name())),
                   fmt::format("Details: TLV8 transformer missing for field '{}'",
                               textOrNull(field->name())));
      }
    }
  }
  if (errorDescription != nullptr) errorDescription->reset();
  return true;
}

}  // namespace qv
