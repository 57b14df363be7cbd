#include "qvparsersupport/tlv8/tlv8_packet.h"

#include <utility>

namespace qv {

namespace {

constexpr std::size_t kHeaderLength = 2;

// One step of the parse: the length of the item at the front of `rest`, 0 when it is malformed.
std::size_t itemLength(ByteView rest, std::optional<std::uint8_t> separator) {
  if (separator && rest[0] == *separator) return 1;
  if (rest.size() < kHeaderLength || rest[1] > rest.size() - kHeaderLength) return 0;
  return kHeaderLength + rest[1];
}

std::size_t countOfItems(ByteView rest, std::optional<std::uint8_t> separator) {
  std::size_t count = 0;
  while (!rest.empty()) {
    const std::size_t length = itemLength(rest, separator);
    if (length == 0) break;
    rest = rest.subspan(length);
    ++count;
  }
  return count;
}

}  // namespace

QVTLV8Field QVTLV8Field::initWithType(std::uint8_t type, std::optional<ByteView> value) {
  QVTLV8Field field;
  field.type_ = type;
  field.setValue(value);
  return field;
}

void QVTLV8Field::setValue(std::optional<ByteView> value) {
  storage_ = value ? SharedBytes::copyOf(*value) : SharedBytes();
  item_ = nullptr;
  origin_ = value ? Origin::ownValue : Origin::withoutValue;
}

std::shared_ptr<ValueObject> QVTLV8Field::objectValueWithErrorDescription(
    std::optional<std::string>& errorDescription) const {
  return fail(&errorDescription, "Unknown TLV8 field.");
}

// The list of a parsed packet. Its fields all share the packet's bytes, so their references are
// taken in one step and given back in one step.
struct QVTLV8Packet::ParsedFields {
  explicit ParsedFields(const SharedBytes& bytes) : storage(bytes) {}
  ParsedFields(const ParsedFields&) = delete;
  ParsedFields& operator=(const ParsedFields&) = delete;
  ~ParsedFields() {
    std::size_t count = 0;
    for (; !fields.empty(); fields.pop_back()) {
      count += fields.back().storage_.abandonTo(storage) ? 1 : 0;
    }
    storage.releaseAbandoned(count);
  }

  SharedBytes storage;
  std::vector<QVTLV8Field> fields;
};

std::shared_ptr<QVTLV8Packet> QVTLV8Packet::initWithData(ByteView data) {
  return make(data, std::nullopt);
}

std::shared_ptr<QVTLV8Packet> QVTLV8Packet::initWithData(ByteView data, std::uint8_t separator) {
  return make(data, separator);
}

std::shared_ptr<QVTLV8Packet> QVTLV8Packet::make(ByteView data,
                                                 std::optional<std::uint8_t> separator) {
  struct Constructible : QVTLV8Packet {};
  auto packet = std::make_shared<Constructible>();
  packet->data_ = SharedBytes::copyOf(data);
  packet->parse(separator);
  return packet;
}

void QVTLV8Packet::parse(std::optional<std::uint8_t> separator) {
  const ByteView data = data_.view();
  auto list = std::make_shared<ParsedFields>(data_);
  const std::size_t count = countOfItems(data, separator);
  list->fields.reserve(count);
  data_.reserveReferences(count);

  ByteView rest = data;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t length = itemLength(rest, separator);
    QVTLV8Field& field = list->fields.emplace_back();
    field.storage_ = data_.adoptReserved();
    field.item_ = rest.data();
    field.type_ = rest[0];
    if (length >= kHeaderLength) field.origin_ = QVTLV8Field::Origin::parsedItem;
    rest = rest.subspan(length);
  }
  parsedFields_ = QVTLV8FieldList(list, &list->fields);
  if (rest.empty()) return;
  errorOffset_ = data.size() - rest.size();
  errorDescription_ = "Length describes more bytes than are available.";
}

std::optional<QVTLV8Field> QVTLV8Packet::fieldWithType(std::uint8_t type) const {
  if (parsedFields_ == nullptr) return std::nullopt;
  for (const QVTLV8Field& field : *parsedFields_) {
    if (field.type() == type) return field;
  }
  return std::nullopt;
}

std::optional<Bytes> QVTLV8Packet::data() const {
  if (data_.isNull()) return std::nullopt;
  const ByteView view = data_.view();
  return Bytes(view.begin(), view.end());
}

void QVTLV8Packet::setData(std::optional<Bytes> data) {
  data_ = data ? SharedBytes::copyOf(*data) : SharedBytes();
}

}  // namespace qv
