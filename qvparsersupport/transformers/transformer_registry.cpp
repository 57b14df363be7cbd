#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/ip_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "qvparsersupport/transformers/tlv8_transformers.h"
#include "qvparsersupport/transformers/transformer.h"

namespace qv {

namespace {

// The classes that register themselves. QVIPTransformer and QVBTLETransformer contribute nothing.
constexpr QVTransformerList (*kInstancesOfClasses[])() = {
    &QVTLV8Transformer::sharedInstances,          &QVTLV8TLV8Transformer::sharedInstances,
    &QVTLV8StringTransformer::sharedInstances,    &QVTLV8DataTransformer::sharedInstances,
    &QVTLV8PrimitiveTransformer::sharedInstances, &QVIPNumberTransformer::sharedInstances,
    &QVIPStringTransformer::sharedInstances,      &QVIPBlobTransformer::sharedInstances,
    &QVIPObjectTransformer::sharedInstances,      &QVIPArrayTransformer::sharedInstances,
    &QVBTLEPrimitiveTransformer::sharedInstances, &QVBTLEStringTransformer::sharedInstances,
    &QVBTLEDataTransformer::sharedInstances,
};

// Deliberate: no transport serves dates, BTLE no arrays and dictionaries, TLV8 fields none of these
// and no booleans, and the relay nothing at all. The sanity check of a profile names the first gap
// it needs.
QVTransformer::Registry builtRegistry() {
  QVTransformer::Registry registry;
  for (const auto instances : kInstancesOfClasses) {
    for (const auto& transformer : instances()) {
      registry[transformer->transport()][transformer->format()] = transformer;
    }
  }
  return registry;
}

}  // namespace

const QVTransformer::Registry& QVTransformer::_transformerMapping() {
  static const Registry& registry = *new Registry(builtRegistry());
  return registry;
}

std::shared_ptr<const QVTransformer> QVTransformer::transformerForTransport(QVTransport transport,
                                                                            QVFormatType format) {
  const auto formats = _transformerMapping().find(transport);
  if (formats == _transformerMapping().end()) return nullptr;
  const auto entry = formats->second.find(format);
  return entry != formats->second.end() ? entry->second : nullptr;
}

std::optional<std::vector<QVFormatType>> QVTransformer::transformableFormatsForTransport(
    QVTransport transport) {
  const auto formats = _transformerMapping().find(transport);
  if (formats == _transformerMapping().end()) return std::nullopt;
  std::vector<QVFormatType> list;
  for (const auto& [format, transformer] : formats->second) list.push_back(format);
  return list;
}

}  // namespace qv
