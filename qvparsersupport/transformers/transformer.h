#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// The error domain for hosts that wrap a description into an error object:
// "com.corvid.QVTransformer".
QV_EXPORT extern const char* const QVTransformerErrorDomain;

class QVTransformer;
using QVTransformerList = std::vector<std::shared_ptr<const QVTransformer>>;

// Converts characteristic values between their in-memory form and the form that one transport
// carries, and checks them against a definition. Transformers are immutable and any thread may use
// them; the registered ones live as long as the process. Nothing is thrown: failures answer null or
// false and store a text in the slot, which stays untouched on success.
class QV_EXPORT QVTransformer {
 public:
  QVTransformer() = default;
  QVTransformer(const QVTransformer&) = delete;
  QVTransformer& operator=(const QVTransformer&) = delete;
  virtual ~QVTransformer() = default;

  // The pair under which the transformer is registered.
  virtual QVTransport transport() const;
  virtual QVFormatType format() const;

  // From the in-memory value to the transport's encoded form, and back. `std::nullopt` as the
  // argument is "no value at all", which is not the null Value.
  virtual std::optional<Value> transformValue(const std::optional<Value>& value,
                                              ErrorSlot errorDescription = nullptr) const;
  virtual std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                                     ErrorSlot errorDescription = nullptr) const;

  // True when the value can be encoded, is not longer than the characteristic's maximum and is one
  // of its enum's values. Minimum, maximum and step are not looked at.
  virtual bool validateValue(const std::optional<Value>& value,
                             const QVCharacteristicXMLObject& characteristic,
                             ErrorSlot errorDescription = nullptr) const;

  // New instances of what the class registers. The base registers nothing: null. A family's base
  // answers an empty list, a concrete class its own one, some of one instance for each type code.
  static std::optional<QVTransformerList> sharedInstances() { return std::nullopt; }

  using Registry =
      std::map<QVTransport, std::map<QVFormatType, std::shared_ptr<const QVTransformer>>>;
  // Everything that is registered; built at the first call, never changed or destroyed.
  static const Registry& _transformerMapping();
  // The registered transformer; null where the registry has a gap.
  static std::shared_ptr<const QVTransformer> transformerForTransport(QVTransport transport,
                                                                      QVFormatType format);
  // The formats registered for a transport, in unspecified order; null when it has none at all.
  static std::optional<std::vector<QVFormatType>> transformableFormatsForTransport(
      QVTransport transport);
};

}  // namespace qv
