#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/tlv8/shared_bytes.h"

namespace qv {

// One item of a TLV8 sequence. Cheap to copy: fields of a parsed packet share the packet's bytes
// and keep them alive.
class QV_EXPORT QVTLV8Field {
 public:
  QVTLV8Field() = default;
  // Without moves of its own, so that a field that was moved from still owns what it points into.
  QVTLV8Field(const QVTLV8Field&) = default;
  QVTLV8Field& operator=(const QVTLV8Field&) = default;
  ~QVTLV8Field() = default;
  // A field with a copy of the value; null makes a separator, a field without a value.
  static QVTLV8Field initWithType(std::uint8_t type, std::optional<ByteView> value);

  std::uint8_t type() const { return type_; }
  // The value's bytes, valid as long as this field or a copy of it; null for a separator, empty for
  // an item of length 0.
  std::optional<ByteView> value() const {
    if (origin_ == Origin::parsedItem) return ByteView(item_ + 2, item_[1]);
    return origin_ == Origin::ownValue ? std::optional(storage_.view()) : std::nullopt;
  }
  void setType(std::uint8_t type) { type_ = type; }
  void setValue(std::optional<ByteView> value);

  // Where the item's type byte stood in the buffer that was parsed; 0 for a field made by hand.
  std::size_t offset() const {
    return item_ != nullptr ? static_cast<std::size_t>(item_ - storage_.view().data()) : 0;
  }

  // A plain field has no typed interpretation: always null, with "Unknown TLV8 field.".
  std::shared_ptr<ValueObject> objectValueWithErrorDescription(
      std::optional<std::string>& errorDescription) const;

 private:
  friend class QVTLV8Packet;
  enum class Origin : std::uint8_t { withoutValue, ownValue, parsedItem };

  SharedBytes storage_;                 // the whole buffer of a parsed field, or the own value
  const std::uint8_t* item_ = nullptr;  // the type byte within the parsed buffer; null when by hand
  std::uint8_t type_ = 0;
  Origin origin_ = Origin::withoutValue;
};

using QVTLV8FieldList = std::shared_ptr<const std::vector<QVTLV8Field>>;

// A parsed TLV8 sequence: items of a type byte, a length byte and up to 255 bytes of value, back to
// back. Never rejected: after a malformed item the packet holds the fields before it and an error
// description. Items of the same type stay fields of their own; nothing is joined.
//
// Parsing takes linear time; the heap it needs is at most 25 bytes for each byte of the buffer (the
// worst case is a buffer of separators, 13 without a separator) and a small constant.
class QV_EXPORT QVTLV8Packet : public ValueObject {
 public:
  static std::shared_ptr<QVTLV8Packet> initWithData(ByteView data);
  // A byte equal to the separator, where a type byte is due, stands by itself as a field without
  // value.
  static std::shared_ptr<QVTLV8Packet> initWithData(ByteView data, std::uint8_t separator);

  // The parsed fields, null only after null was set; a mutable packet answers a copy of what was
  // appended so far, never null.
  virtual QVTLV8FieldList fields() const { return parsedFields_; }
  // The first parsed field of that type; null when there is none.
  std::optional<QVTLV8Field> fieldWithType(std::uint8_t type) const;

  // The bytes that were parsed, as a copy; null when there are none (a mutable packet serialises
  // instead, and answers null when that fails).
  virtual std::optional<Bytes> data() const;
  const QVTLV8FieldList& parsedFields() const { return parsedFields_; }
  // What ended the parse early; null when the whole buffer was items.
  const std::optional<std::string>& errorDescription() const { return errorDescription_; }
  // Where the malformed item that ended the parse begins; null when there was none.
  const std::optional<std::size_t>& errorOffset() const { return errorOffset_; }
  void setData(std::optional<Bytes> data);
  void setParsedFields(QVTLV8FieldList fields) { parsedFields_ = std::move(fields); }
  void setErrorDescription(std::optional<std::string> text) { errorDescription_ = std::move(text); }

 protected:
  QVTLV8Packet() = default;

 private:
  struct ParsedFields;
  static std::shared_ptr<QVTLV8Packet> make(ByteView data, std::optional<std::uint8_t> separator);
  void parse(std::optional<std::uint8_t> separator);

  SharedBytes data_;
  QVTLV8FieldList parsedFields_;
  std::optional<std::string> errorDescription_;
  std::optional<std::size_t> errorOffset_;
};

// A packet under construction. It never parses: `parsedFields` stays null.
// Deliberate: `fieldWithType` reads the parsed fields, so here it answers null whatever was
// appended; code that needs a field of a packet under construction walks `fields`.
class QV_EXPORT QVTLV8MutablePacket : public QVTLV8Packet {
 public:
  static std::shared_ptr<QVTLV8MutablePacket> init();

  void appendField(QVTLV8Field field) { mutableFields_.push_back(std::move(field)); }
  const std::vector<QVTLV8Field>& mutableFields() const { return mutableFields_; }
  QVTLV8FieldList fields() const override;

  // The serialised fields without coalescing; null when a value is too long for one item.
  std::optional<Bytes> data() const override;
  std::optional<Bytes> dataWithErrorDescription(ErrorSlot errorDescription = nullptr) const;

  // The serialised fields. A value of N bytes becomes, by N:
  //   up to 255               one item, with or without coalescing
  //   from 256, no coalescing failure, "Too many bytes provided in value for type 0x%02x"
  //   from 256, coalescing    items of 255 bytes while 256 or more are left, which leaves a rest of
  //                           L = (N - 1) % 255 + 1 bytes; then items of R = N % 256 bytes
  // Deliberate: the later items take R, the low byte of the whole length, and not what is left. So
  // coalescing succeeds only where R is not 0 and divides L (257 gives 255 + 1 + 1, 514 gives twice
  // 255 + 2 items of 2); 300 would read past the value, 256 and its multiples would never end, and
  // they and all others fail with a text. Nothing is read outside the value. The slot is cleared on
  // success.
  std::optional<Bytes> dataUsingAutomaticFieldCoalescing(
      bool coalesce, ErrorSlot errorDescription = nullptr) const;

 private:
  std::vector<QVTLV8Field> mutableFields_;
};

}  // namespace qv
