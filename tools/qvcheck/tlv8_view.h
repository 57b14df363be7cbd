#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/ipmessages/message_fault.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"
#include "tools/qvcheck/view_page.h"

namespace qv::check {

// Shows the fields of a packet, by name where the structure (null for none) has one, with their
// bytes and what these mean, and the bytes behind the last field that could be read. `faults` mark
// the fields at whose first byte they begin.
void showTLV8(ViewPage& page, std::size_t level, const QVTLV8Packet& packet,
              const QVTLV8XMLObject* structure, std::span<const QVMessageFault> faults = {});

// The symbols of an enum (null for none) that a value stands for, "Start" or for bits "A + B"; null
// when it stands for none.
std::optional<std::string> symbolsFor(const QVEnumXMLObject* enumeration, const Value& value);

}  // namespace qv::check
