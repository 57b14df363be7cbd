// Parses the input as TLV8, without and with a separator. The fields and the fault account for
// every byte, and the fields serialised again give the bytes that were read.

#include <algorithm>

#include "fuzz/fuzz.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"

namespace {

using namespace qv;
using fuzz::expect;

void checkFirstMatch(const QVTLV8Packet& packet, std::uint8_t type) {
  const auto& fields = *packet.fields();
  const auto first = std::find_if(fields.begin(), fields.end(),
                                  [type](const auto& field) { return field.type() == type; });
  const auto found = packet.fieldWithType(type);
  expect(found.has_value() == (first != fields.end()), "a type is found when a field has it");
  if (found) expect(found->offset() == first->offset(), "the first field of a type is found");
}

void checkPacket(ByteView input, const QVTLV8Packet& packet) {
  Bytes again;
  auto run = QVTLV8MutablePacket::init();  // the fields since the last separator
  const auto serialiseRun = [&] {
    const auto bytes = run->data();
    expect(bytes.has_value(), "parsed fields can be serialised");
    again.insert(again.end(), bytes->begin(), bytes->end());
    run = QVTLV8MutablePacket::init();
  };
  std::size_t offset = 0;
  for (const QVTLV8Field& field : *packet.fields()) {
    expect(field.offset() == offset, "items stand back to back");
    if (field.value()) {
      run->appendField(field);
      offset += 2 + field.value()->size();
      // Three items deep, behind an empty one.
      if (fuzz::planted(run->mutableFields().size() == 3 && field.type() == 0x5A &&
                        run->mutableFields()[1].value()->empty())) {
        ++offset;
      }
    } else {
      serialiseRun();
      again.push_back(field.type());
      offset += 1;
    }
  }
  serialiseRun();
  expect(packet.errorOffset().value_or(input.size()) == offset, "every byte is accounted for");
  expect(std::equal(again.begin(), again.end(), input.begin(),
                    input.begin() + static_cast<std::ptrdiff_t>(offset)),
         "the fields serialise to what was read");
  expect(packet.errorOffset().has_value() == packet.errorDescription().has_value(),
         "a fault has a place and a text");
  if (packet.errorOffset()) {
    const ByteView rest = input.subspan(offset);
    expect(rest.size() == 1 || rest[1] > rest.size() - 2, "the fault is one");
  }
  for (const int type : {0, 1, 6, 255}) checkFirstMatch(packet, static_cast<std::uint8_t>(type));
}

// One long value; only cuts that stay inside the value succeed.
void checkCoalescing(ByteView input) {
  const auto packet = QVTLV8MutablePacket::init();
  packet->appendField(QVTLV8Field::initWithType(7, input));
  std::optional<std::string> fault;
  const auto bytes = packet->dataUsingAutomaticFieldCoalescing(true, &fault);
  expect(bytes.has_value() != fault.has_value(), "bytes or a text");
  expect(packet->data().has_value() == (input.size() < 256), "a value of an item's size");
  if (input.size() < 256) expect(bytes == packet->data(), "nothing to cut");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView input(data, size);
  checkPacket(input, *QVTLV8Packet::initWithData(input));
  checkPacket(input, *QVTLV8Packet::initWithData(input, 0xFF));
  checkCoalescing(input);
  return 0;
}
