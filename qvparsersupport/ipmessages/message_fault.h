#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "qvparsersupport/common/bytes.h"

namespace qv {

class QVXMLObject;

// The part of a message that a fault concerns.
enum class QVMessagePart : std::uint8_t { none, startLine, header, body };

// One text that a message set, with what it concerns.
struct QVMessageFault {
  // The rule that was broken, in dotted lower-case words with the area first ("http.204-body"). A
  // literal that lives as long as the process.
  std::string_view rule = {};
  std::string text = {};
  QVMessagePart part = QVMessagePart::none;
  // Within the header block for `startLine` and `header`, within the body for `body`; null when the
  // fault concerns no particular bytes.
  std::optional<ByteRange> range = {};
  // What was asked for and what was found, in words for a person; empty when the text says it all.
  std::string expected = {};
  std::string actual = {};
  // The path of a TLV8 field, "06" for the field of type 6, "05[2]" for the second one of type 5;
  // empty for other faults.
  std::string tlv8Path = {};
  // For a fault of a JSON body, the value concerned as a JSON Pointer (RFC 6901), which is "" for
  // the whole body, and the key it is about when there is one: for a missing key the pointer names
  // the object that lacks it. The pointer is null when no body could be decoded, and both are null
  // and empty for other faults.
  std::optional<std::string> jsonPointer = {};
  std::string key = {};
  // The definition that says so, such as the field definition of a TLV8 field; null when none does.
  std::shared_ptr<const QVXMLObject> definition = {};
};

}  // namespace qv
