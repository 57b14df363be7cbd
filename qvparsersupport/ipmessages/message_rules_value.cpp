#include "qvparsersupport/ipmessages/message_rule_rows.h"

namespace qv {

namespace {

constexpr RuleRow kRows[] = {
    {"tlv8.field-encoding",
     "Field 0x%02x is invalid: Failed to UTF-8 encode value.\n"
     "Field 0x%02x is invalid: Value cannot be encoded to a string.\n"
     "Field 0x%02x is invalid: Value could not be serialized for this transport.\n"
     "Field 0x%02x is invalid: Value is not a number.\n"
     "Field 0x%02x is invalid: Value is not raw data.",
     "The value of a field can be encoded in the field's format. After its bytes were decoded, the "
     "value is encoded once more, to measure it; this rule speaks when that fails. Values that "
     "come "
     "from bytes always pass; a value that a program puts together may be of the wrong kind for "
     "the "
     "format that the profile gives to the field.",
     "a string where the structure has a field of format uint8"},
    {"tlv8.field-enum", "Field 0x%02x is invalid: Value does not conform to allowed values",
     "The value of a field is one that its enum names. The profile ties the field to an enum, and "
     "the bytes stand for a number or text that is none of its values; for a bitmask, a bit is set "
     "that has no name. Usual causes are a value that a newer revision of the profile adds, a "
     "field "
     "that holds another field's value, and bytes in the wrong order.",
     "01 01 07    State is 7, but the enum ends at 6"},
    {"tlv8.field-length",
     "Field 0x%02x is invalid: Encoded value does not have an inherent length.\n"
     "Field 0x%02x is invalid: Encoded value is %d bytes, which is larger than the maximum of %@ "
     "bytes.",
     "A field is no longer than its maximum length. The profile limits the bytes of the value; "
     "text "
     "counts in UTF-8, not in characters. Receivers often hold such fields in fixed buffers, so a "
     "longer value is refused or cut. Usual causes are names chosen by users, and a value that "
     "belongs into another field. Fragments, items of one type in a row, are measured one by one.",
     "05 28 61 61 ...    an Identifier of 40 bytes where 36 are allowed"},
    {"tlv8.field-value", "Field 0x%02x is invalid: %@",
     "The bytes of a field suit its format. A uint8 has 1 byte, a uint16 2, a uint32 and a float "
     "4, "
     "a uint64 8, an int 1, 2, 4 or 8, and a string is UTF-8 without null characters. The text "
     "names "
     "the field and then the reason. Usual causes are a number sent in the width of a variable "
     "instead of that of the field, and a string that is sent together with its terminating null.",
     "04 01 1e    Retry Delay, a uint16, in one byte"},
    {"tlv8.item-length",
     "Too many bytes provided in value for type 0x%02x\n"
     "Value of %d bytes for type 0x%02x cannot be divided into items",
     "A value fits into the items that it may be divided into. An item holds at most 255 bytes. A "
     "longer value is refused unless it may be divided into several items of one type, and the "
     "rule "
     "by which the last length is formed serves only some lengths. This concerns programs that "
     "build TLV8 with the library, not captured bytes.",
     "QVTLV8MutablePacket: a field of 256 bytes, without coalescing"},
    {"tlv8.length",
     "Error parsing TLV8 data: %@\n"
     "Length describes more bytes than are available.",
     "Each TLV8 item ends inside the data. An item is a type byte, a length byte and as many bytes "
     "as the length says. The data ends after a type byte, or before all bytes of an item. The "
     "fields before that place are decoded. Usual causes are a body cut short by a buffer, a "
     "Content-Length that is too small, and a value of more than 255 bytes that was not divided "
     "into several items, so that its length byte wrapped around.",
     "06 01 01 08 30 11    a Proof of 48 bytes, of which 1 is there"},
    {"tlv8.not-accepted", "Provided TLV8 but characteristic does not accept TLV8s.",
     "A TLV8 value belongs to a characteristic of format tlv8. The value was checked against a "
     "characteristic whose definition gives it another format. Usual causes are a wrong "
     "characteristic, and a profile of another revision, in which the format differs.",
     "bytes of a schedule, checked against Lamp On, which is a bool"},
    {"tlv8.object-value", "Unknown TLV8 field.",
     "A field as such has no value to convert to. The type of a field says nothing about its "
     "format; only a definition does. A program that asks a field for its value as an object gets "
     "this text always, and should check and decode through the structure's definition instead.",
     "field.objectValueWithErrorDescription(error);"},
    {"tlv8.unknown-field", "Unknown field type 0x%02x provided in TLV8.",
     "Each field is one that its structure defines. The profile's structure has no field of this "
     "type; only type 0xff, the separator, needs no definition. Usual causes are a field of "
     "another structure, a profile that lacks a newer field, and an item that is cut or too long, "
     "so that what follows it is read at the wrong place: look at the item before.",
     "5e 01 3f    no field of type 0x5e is defined"},
    {"tlv8.unknown-format", "Unknown TLV8 field format for field 0x%02x",
     "The definition of a field has a format that TLV8 can carry. Fields have no form for bool, "
     "date, array and dict. Profiles with such fields are refused when they are loaded, so this "
     "concerns definitions that a program builds or restores.",
     "<field type=\"0x01\" name=\"Ready\" format=\"bool\"/>"},
    {"value.encoded-size",
     "Invalid length %d for uint64\n"
     "Invalid length %d for uint8\n"
     "Invalid length %d for unsigned integer\n"
     "Invalid number of bytes provided for boolean.\n"
     "Invalid number of bytes provided for float.\n"
     "Invalid number of bytes provided for uint16.\n"
     "Invalid number of bytes provided for uint32.\n"
     "Invalid number of bytes provided for uint64.\n"
     "Invalid number of bytes provided for uint8.",
     "An encoded number has as many bytes as its format. A bool and a uint8 have 1 byte, a uint16 "
     "2, a uint32 and a float 4, a uint64 8, and an int 1, 2, 4 or 8, in little-endian order. Mind "
     "that a text can name another format than the field has: over Bluetooth LE an int is reported "
     "as uint8, and in TLV8 an int as unsigned integer, a uint16 and a uint32 as uint64. The usual "
     "cause is a value written in the width of a variable.",
     "1e    a uint16 of one byte"},
    {"value.enum", "Value does not conform to allowed values",
     "A value is one that its enum names. The profile ties the characteristic or field to an enum. "
     "The value is none of the enum's values; for a bitmask, it sets a bit that the enum does not "
     "name. Usual causes are a value that a newer revision of the profile adds, and a value on "
     "another scale, such as per cent where the enum counts levels.",
     "9 for Lamp Effect, whose enum names 0 to 3"},
    {"value.format",
     "Boolean value out of range\n"
     "Invalid boolean value.\n"
     "Number is not a boolean.\n"
     "Number is not a float.\n"
     "Number is not an integer.",
     "A number is one that its format can hold. The integer formats take no number with a fraction "
     "or exponent, even when it is whole, and a bool is true, false, 0 or 1. Usual causes are a "
     "serializer that writes every number as floating point (40.0 instead of 40), and a percentage "
     "or counter where the profile has a bool.",
     "{\"aid\":1,\"iid\":11,\"value\":40.0}    for a characteristic of format uint8"},
    {"value.kind",
     "Value cannot be encoded to a string.\n"
     "Value is not a TLV8 packet.\n"
     "Value is not a TLV8.\n"
     "Value is not a base-64 encoded string or a raw data object.\n"
     "Value is not a boolean.\n"
     "Value is not a number.\n"
     "Value is not a string.\n"
     "Value is not an array.\n"
     "Value is not an object.\n"
     "Value is not null.\n"
     "Value is not raw data.",
     "A value is of the kind that its place demands. In JSON a key wants a number, a string, a "
     "boolean (true, false, 0 or 1), an array or an object; a transformer wants what its format is "
     "made from. Nothing is converted: \"1\" is no number and 1 no string. Usual causes are "
     "numbers "
     "in quotes, null for a value that is not known yet, and, for the formats data and tlv8, an "
     "array of numbers instead of base-64 text. \"Value is not an object.\" for a whole body also "
     "follows when the body could not be decoded at all.",
     "{\"aid\":\"1\",\"services\":[]}"},
    {"value.length",
     "Encoded value does not have an inherent length.\n"
     "Encoded value is %d bytes, which is larger than the maximum of %@ bytes.",
     "A value is no longer than its maximum length. The profile limits the bytes of the encoded "
     "value; text counts in UTF-8, so one character may take up to four bytes, and data in JSON "
     "counts as base-64 text. A maximum length on a format whose encoded form has no length, such "
     "as a number in JSON, can never be met: then the profile is at fault.",
     "a name of 65 letters where maximumLength is 64"},
    {"value.serialization", "Value could not be serialized for this transport.",
     "A value has a form on the transport it is meant for. Encoding gave no value and no reason "
     "either. This concerns values that a program hands in, for example no value at all where the "
     "transport has no form for nothing.",
     "no value for a characteristic of format dict over IP"},
    {"value.text",
     "Failed to UTF-8 encode value.\n"
     "Failed to interpret UTF-8 data.\n"
     "Reverse transform of data failed because string information contained null characters",
     "A string is valid UTF-8, and in TLV8 without null characters. Bytes that are no UTF-8 cannot "
     "be shown, compared or sent on as JSON. A string in TLV8 with broken UTF-8 is reported with "
     "the text about null characters, too. Usual causes are text in an 8-bit encoding, a character "
     "cut in two by a length limit, and a terminating null that is sent along.",
     "6c 61 6d 70 00    \"lamp\" with its terminating null"},
    {"value.transformer",
     "Invalid format transformer.\n"
     "Invalid primitive type in transformer.",
     "A value is converted by a transformer of a known format. The base class converts nothing, "
     "and "
     "the number transformers know a fixed set of types. The registry holds only valid ones, so "
     "this concerns programs that make or derive transformers themselves.",
     "QVTLV8PrimitiveTransformer::transformerWithTLV8Primitive(9)"},
};

}  // namespace

std::span<const RuleRow> valueRuleRows() {
  return kRows;
}

}  // namespace qv
