#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "qvparsersupport/transformers/transformer.h"

namespace qv {

// The transformers of JSON bodies, where the encoded form is the value itself. They convert
// nothing: each checks that the value has the kind that the format needs, the same in both
// directions. The range of a number format, the elements of an array and the base-64 of a text are
// not looked at.
//
// Deliberate: a failed check stores its text and answers the value all the same, so callers look at
// the slot and not at the result. What comes in as "no value at all" comes out as that.
class QV_EXPORT QVIPTransformer : public QVTransformer {
 public:
  QVTransport transport() const override { return QVTransport::ip; }
  std::optional<Value> transformValue(const std::optional<Value>& value,
                                      ErrorSlot errorDescription = nullptr) const final;
  std::optional<Value> reverseTransformValue(const std::optional<Value>& value,
                                             ErrorSlot errorDescription = nullptr) const final;
  static QVTransformerList sharedInstances() { return {}; }

 protected:
  // Answers the value; stores a text when it does not suit the format.
  virtual std::optional<Value> checkedValue(const std::optional<Value>& value,
                                            ErrorSlot errorDescription) const;
};

// Number types: 0 float, 1 int, 2 uint8, 3 uint16, 4 uint32, 5 uint64, 6 bool. Any other code has
// no format and accepts every number. The null Value passes.
class QV_EXPORT QVIPNumberTransformer : public QVIPTransformer {
 public:
  explicit QVIPNumberTransformer(std::uint8_t numberType) : numberType_(numberType) {}
  static std::shared_ptr<QVIPNumberTransformer> transformerWithIPNumber(std::uint8_t numberType);
  static QVTransformerList sharedInstances();

  QVFormatType format() const override;
  std::uint8_t numberType() const { return numberType_; }

 protected:
  std::optional<Value> checkedValue(const std::optional<Value>& value,
                                    ErrorSlot errorDescription) const override;

 private:
  std::uint8_t numberType_;
};

class QV_EXPORT QVIPStringTransformer : public QVIPTransformer {
 public:
  QVFormatType format() const override { return QVFormatType::string; }
  static QVTransformerList sharedInstances();

 protected:
  std::optional<Value> checkedValue(const std::optional<Value>& value,
                                    ErrorSlot errorDescription) const override;
};

// Format `data`: a byte buffer or any string.
class QV_EXPORT QVIPBlobTransformer : public QVIPTransformer {
 public:
  QVFormatType format() const override { return QVFormatType::data; }
  static QVTransformerList sharedInstances();

 protected:
  std::optional<Value> checkedValue(const std::optional<Value>& value,
                                    ErrorSlot errorDescription) const override;
};

class QV_EXPORT QVIPArrayTransformer : public QVIPTransformer {
 public:
  QVFormatType format() const override { return QVFormatType::array; }
  static QVTransformerList sharedInstances();

 protected:
  std::optional<Value> checkedValue(const std::optional<Value>& value,
                                    ErrorSlot errorDescription) const override;
};

// Deliberate: format `dict`, but every value passes.
class QV_EXPORT QVIPObjectTransformer : public QVIPTransformer {
 public:
  QVFormatType format() const override { return QVFormatType::dictionary; }
  static QVTransformerList sharedInstances();

 protected:
  std::optional<Value> checkedValue(const std::optional<Value>& value,
                                    ErrorSlot errorDescription) const override;
};

}  // namespace qv
