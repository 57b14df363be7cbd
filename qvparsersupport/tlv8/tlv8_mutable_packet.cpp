#include <fmt/format.h>

#include <limits>

#include "qvparsersupport/tlv8/tlv8_packet.h"

namespace qv {

namespace {

constexpr std::size_t kLongestItem = std::numeric_limits<std::uint8_t>::max();

// The length byte of the next item of a value of `total` bytes of which `left` are still to be
// written. Deliberate: the low byte of the whole length, not of what is left.
std::size_t nextItemLength(std::size_t total, std::size_t left) {
  return left > kLongestItem ? kLongestItem : total & kLongestItem;
}

bool appendItems(Bytes& output, std::uint8_t type, ByteView value, bool coalesce,
                 ErrorSlot errorDescription) {
  ByteView rest = value;
  do {
    const std::size_t length = nextItemLength(value.size(), rest.size());
    const bool standsStill = length == 0 && !rest.empty();
    if (standsStill || length > rest.size()) {
      return fail(errorDescription,
                  fmt::format("Value of {} bytes for type 0x{:02x} cannot be divided into items",
                              value.size(), type));
    }
    output.push_back(type);
    output.push_back(static_cast<std::uint8_t>(length));
    output.insert(output.end(), rest.begin(), rest.begin() + static_cast<std::ptrdiff_t>(length));
    rest = rest.subspan(length);
  } while (coalesce && !rest.empty());
  if (rest.empty()) return true;
  return fail(errorDescription,
              fmt::format("Too many bytes provided in value for type 0x{:02x}", type));
}

}  // namespace

std::shared_ptr<QVTLV8MutablePacket> QVTLV8MutablePacket::init() {
  struct Constructible : QVTLV8MutablePacket {};
  return std::make_shared<Constructible>();
}

QVTLV8FieldList QVTLV8MutablePacket::fields() const {
  return std::make_shared<const std::vector<QVTLV8Field>>(mutableFields_);
}

std::optional<Bytes> QVTLV8MutablePacket::data() const {
  return dataWithErrorDescription(nullptr);
}

std::optional<Bytes> QVTLV8MutablePacket::dataWithErrorDescription(
    ErrorSlot errorDescription) const {
  return dataUsingAutomaticFieldCoalescing(false, errorDescription);
}

std::optional<Bytes> QVTLV8MutablePacket::dataUsingAutomaticFieldCoalescing(
    bool coalesce, ErrorSlot errorDescription) const {
  Bytes output;
  for (const QVTLV8Field& field : mutableFields_) {
    const ByteView value = field.value().value_or(ByteView());
    if (!appendItems(output, field.type(), value, coalesce, errorDescription)) return std::nullopt;
  }
  if (errorDescription != nullptr) *errorDescription = std::nullopt;
  return output;
}

}  // namespace qv
