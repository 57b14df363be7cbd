#pragma once

// The whole library in one header.
//
//   parseXML            text of a profile -> XMLDocument                       common/xml_reader.h
//   parseJSON           JSON text -> Value; jsonText goes back               common/json_reader.h
//   QVSymbolTable       documents -> definitions, and every lookup symbols/symbol_table.h
//   QVIPMessage         captured header and body -> checked message ipmessages/ip_message.h
//   QVTransformer       values between memory and a transport transformers/transformer.h
//   QVTLV8Packet        TLV8 bytes -> fields, and back                         tlv8/tlv8_packet.h
//   QVTypes ...         the vocabulary: transports, formats, permissions       vocabulary/
//
// Conventions: "or null" is std::optional for values and a null shared_ptr for objects. Operations
// that can fail take an optional error slot (common/failure.h). Nothing throws but std::bad_alloc,
// and definitions that a host reads from an element by itself (QVLoadAssertion). Nothing reads
// files or starts threads.

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/dictionary_lookup.h"
#include "qvparsersupport/common/escape.h"
#include "qvparsersupport/common/json_pointer.h"
#include "qvparsersupport/common/json_reader.h"
#include "qvparsersupport/common/json_writer.h"
#include "qvparsersupport/common/process_log.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/common/version.h"
#include "qvparsersupport/common/xml_reader.h"
#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "qvparsersupport/ipmessages/message_rules.h"
#include "qvparsersupport/ipmessages/tlv8_message.h"
#include "qvparsersupport/json/attribute_database_objects.h"
#include "qvparsersupport/json/characteristic_access_objects.h"
#include "qvparsersupport/json/tree_walk.h"
#include "qvparsersupport/json/vocabulary_strings.h"
#include "qvparsersupport/symbols/symbol_table.h"
#include "qvparsersupport/tlv8/tlv8_packet.h"
#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/ip_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "qvparsersupport/transformers/tlv8_transformers.h"
#include "qvparsersupport/transformers/transformer.h"
#include "qvparsersupport/vocabulary/format_strings.h"
#include "qvparsersupport/vocabulary/identifiers.h"
#include "qvparsersupport/vocabulary/types.h"
