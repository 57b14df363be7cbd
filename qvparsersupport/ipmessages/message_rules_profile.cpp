#include "qvparsersupport/ipmessages/message_rule_rows.h"

namespace qv {

namespace {

constexpr RuleRow kRows[] = {
    {"profile.archive",
     "A dictionary with the key $kind needs a text there, the key value and no other\n"
     "A library object has no JSON form\n"
     "The archive is nested deeper than %d levels\n"
     "The archive nests more than %d instances within instances\n"
     "The value of $kind '%@' does not fit it\n"
     "Unknown $kind '%@'",
     "An archive of profiles has the form in which the library writes it. In JSON, values that "
     "JSON "
     "lacks are dictionaries with the keys \"$kind\" and \"value\", such as bytes and numbers of a "
     "certain width; instances lie in their parents and no deeper. An archive that breaks this was "
     "edited by hand or written by another program, or is no archive at all. Write it anew from "
     "its "
     "profiles.",
     "{\"enums\":[{\"name\":{\"$kind\":\"text\",\"value\":\"Effect\"}}]}"},
    {"profile.bitmask", "isBitmask must be YES or NO",
     "The attribute bitmask is yes or no. Letter case does not count; other words for the same, "
     "such as true and 1, are not understood. The text speaks of isBitmask, the attribute is named "
     "bitmask.",
     "<enum name=\"Days\" format=\"uint8\" bitmask=\"true\">"},
    {"profile.duplicate-name",
     "Characteristic BLE ref %@ Name is not unique\n"
     "Characteristic BLE ref %@ UTI is not unique\n"
     "Characteristic BLE ref %@ UUID is not unique\n"
     "Characteristic ip ref %@ Name is not unique\n"
     "Characteristic ip ref %@ UTI is not unique\n"
     "Characteristic ip ref %@ UUID is not unique\n"
     "Enum name %@ is not unique\n"
     "Service BLE ref %@ is not unique\n"
     "Service ip ref %@ is not unique\n"
     "TLV8 name '%@' is not unique",
     "Within a section, each name, UTI and UUID stands for one definition. Enums and "
     "TLV8 structures are found by name, characteristics and services by name, UTI or UUID, and "
     "these three share one space: the UTI of one may not be the UUID of another. The IP and the "
     "BLE form of one definition may agree. Letter case does not count in these three. The text "
     "shows the value of the definition itself, which can be (null) when the "
     "repeated one stands in its ip or btle element. The usual cause is a definition that was "
     "copied and not given its own UUID. Two documents may define the same name; the first one is "
     "found.",
     "<characteristic name=\"Lamp On\">...</characteristic>\n"
     "<characteristic name=\"lamp on\">...</characteristic>"},
    {"profile.element-count",
     "Must only have 1 %@ element\n"
     "There must be exactly 1 fields element in a TLV8\n"
     "There must be exactly 1 optional element in a service\n"
     "There must be exactly 1 properties element in a characteristic\n"
     "There must be exactly 1 required element in a service\n"
     "There must be exactly 1 values element in an enum\n"
     "There must only be 1 %@ in the profile xml",
     "An element that may stand once stands once. A profile has each of the sections enums, tlv8s, "
     "characteristics and services exactly once, even when it is empty; an enum has one values, a "
     "TLV8 structure one fields element. Of properties, ip and btle, and of required and optional, "
     "there may be one or none. Usual causes are a missing section, and two lists that should be "
     "one.",
     "<profile>\n"
     "  <enums/> <characteristics/> <services/>\n"
     "</profile>"},
    {"profile.enum-format",
     "Enum type must equal characteristic type for %@ (%d vs %d)\n"
     "Enum type must equal tlv8 type for %@",
     "An enum has the format of whatever refers to it. Its values are compared as values of its "
     "own "
     "format, so an enum of uint8 says nothing about a string. The text for a characteristic ends "
     "with the numbers of both formats, the enum's first (bool 1, int 2, uint8 3, uint16 4, uint32 "
     "5, uint64 6, float 7, string 8, date 9, tlv8 10, data 11, array 12, dict 13; 0 is none). The "
     "usual cause is a format that was widened in one place only.",
     "<enum name=\"Effect\" format=\"uint8\">...</enum>\n"
     "...\n"
     "<format name=\"uint16\" enum=\"Effect\"/>"},
    {"profile.field-type",
     "Failed to read hex int\n"
     "Type must be 1 hex byte\n"
     "Type must only be 1 byte",
     "The type of a TLV8 field is one byte in hexadecimal. It is written with 0x in front, from "
     "0x00 to 0xFF. Usual causes are a decimal number, a missing attribute type, and a number of "
     "two bytes.",
     "<field type=\"6\" name=\"State\" format=\"uint8\"/>"},
    {"profile.incomplete-instance",
     "BLE must have a UUID\n"
     "IP must have a UUID\n"
     "Must have a format string\n"
     "Must have a name\n"
     "Must have optional\n"
     "Must have required",
     "An instance has what its transport needs, itself or from its parent. That is a name and a "
     "UUID, for a characteristic a format, and for a service the lists required and optional. "
     "Profile documents never break this rule, because it looks only at instances that an instance "
     "has of its own; a program that builds definitions by hand can.",
     "an IP characteristic without uuid, set as the ip instance of another instance"},
    {"profile.limits",
     "Step must not be empty string\n"
     "maxValue is only applicable to float and int types\n"
     "maxValue must not be empty string\n"
     "minValue is only applicable to float and int types\n"
     "minValue must not be empty string\n"
     "step is only applicable to float and int types",
     "Limits are given in numbers, and only where the format is a number. minValue and maxValue go "
     "with int, uint8, uint16, uint32, uint64 and float; step goes with int and float alone, "
     "although the text reads as if it were the same for all three. An empty value is no number. "
     "Usual causes are a step for an unsigned format, and limits left over after a change of "
     "format.",
     "<format name=\"uint8\"/>\n"
     "<step value=\"5\"/>"},
    {"profile.list-transport", "Invalid transport %d for service '%@'",
     "The lists required and optional stand inside ip or btle. A service lists characteristics as "
     "they are on a transport; directly below the service, outside ip and btle, there is no "
     "transport to pick them for. An empty list does no harm there. The usual cause is a list that "
     "is meant for both transports: repeat it in both.",
     "<service name=\"Lamp\">\n"
     "  <required><characteristic ref=\"Lamp On\"/></required>\n"
     "</service>"},
    {"profile.maximum-length", "maximumLength must be an integer",
     "maximumLength is a number of bytes in decimal digits. No sign, no unit, no blank and no "
     "fraction may stand with it.",
     "<format name=\"string\" maximumLength=\"64 bytes\"/>"},
    {"profile.missing-attribute",
     "'%@' not found on element %@\n"
     "Enum field must have a format string\n"
     "Format string required for enum\n"
     "Must have attribute '%@' for '%@' element %@",
     "An element has the attributes that it cannot do without. These are the name of nearly "
     "everything, value and symbol of an enum value, ref of a reference, and the format of an enum "
     "or a TLV8 field (for a field the text speaks of an enum field, whatever its format). "
     "Attribute names are compared letter by letter. Usual causes are a name in another letter "
     "case, and an attribute that stands one element too high or too low.",
     "<value value=\"0\"/>"},
    {"profile.missing-transport",
     "Must have BLE instance\n"
     "Must have IP instance\n"
     "Service must have BLE definition during load\n"
     "Service must have IP definition during load",
     "What is used on a transport is defined for it. The ip part of a service may only list "
     "characteristics that have an ip element, and its btle part those with a btle element; the "
     "same goes for a service that is asked for while a profile is loaded. Usual causes are a "
     "characteristic for one transport only that is listed for both, and a forgotten empty "
     "element, "
     "which is enough: <ip/>.",
     "<characteristic name=\"Lamp On\"> ... <ip/> </characteristic>\n"
     "...\n"
     "<btle><required><characteristic ref=\"Lamp On\"/></required></btle>"},
    {"profile.no-transformer",
     "No tlv8 value transformer found for field '%@'\n"
     "No value transformer found for characteristic '%@'",
     "Every value that a profile describes can be encoded. No transport carries the format date; "
     "Bluetooth LE carries no array and no dict, and a TLV8 field none of these and no bool. After "
     "everything was read, the first characteristic and then the first field of such a format is "
     "refused. Use another format: a uint8 with an enum for a bool in a TLV8 field, a tlv8 for a "
     "dict over Bluetooth LE.",
     "<field type=\"0x01\" name=\"Ready\" format=\"bool\"/>"},
    {"profile.repeated-attribute",
     "Duplicate definition of element '%@''s attribute '%@' on element %@",
     "Of several elements of one name, only one gives an attribute. Elements such as type and "
     "format "
     "may stand more than once in a definition, each with other attributes, but no attribute may "
     "stand in two of them. The usual cause is an element that was copied and edited in only one "
     "of "
     "its attributes.",
     "<format name=\"string\"/>\n"
     "<format name=\"string\" maximumLength=\"64\"/>"},
    {"profile.tlv8-format",
     "Only TLV8 formatted characteristics should have a TLV8 definition\n"
     "TLV8 formatted characteristics must have a tlv8 definition: %@",
     "A TLV8 structure goes with the format tlv8. A characteristic of this format must name its "
     "structure, because its bytes mean nothing without one; with any other format, no structure "
     "may be named, which holds for fields as well. Usual causes are the format data for what is a "
     "structure, and a missing attribute tlv8.",
     "<format name=\"data\" tlv8=\"Lamp Schedule\"/>"},
    {"profile.unknown-attribute", "Unknown attribute %@ provided to %@",
     "An element has only attributes that it knows. One that is not known would have no effect, "
     "which its author could not have meant, so the profile is refused. Usual causes are a "
     "misspelled name (maxLength for maximumLength), another letter case, and an attribute that "
     "belongs to a child element. The first unknown one is reported.",
     "<field type=\"0x05\" name=\"Identifier\" format=\"string\" maxLength=\"36\"/>"},
    {"profile.unknown-format", "Must have valid value format, saw '%@'",
     "A format is one of those that values can have. These are bool, int, uint8, uint16, uint32, "
     "uint64, float, string, date, tlv8, data, array and dict, in small letters. Usual causes are "
     "the name of a programming language's type, such as double or int32, and capital letters.",
     "<format name=\"Uint8\"/>"},
    {"profile.unknown-property", "Must have valid property type (saw %@)",
     "A property is one of the known permissions. These are pr, pw, ev, ur, aa, hd and tw, in "
     "small "
     "letters. The usual cause is a word such as read or notify.",
     "<properties><property name=\"read\"/></properties>"},
    {"profile.unknown-reference",
     "Failed to find characteristic with ref %@\n"
     "Failed to find enum with name %@\n"
     "Failed to find parent characteristic with ref %@\n"
     "Failed to find service with ref %@\n"
     "Failed to find tlv8 with name %@ (Must be defined before usage as sub-tlv)\n"
     "Failed to resolve reference to %@\n"
     "Must have an enum for %@ if enum name is specified\n"
     "Must have an tlv8 for %@ if tlv8 name is specified",
     "Whatever is referred to was defined before. A profile is read from top to bottom, section by "
     "section and document by document, so an enum, a TLV8 structure or a characteristic stands "
     "before its first use; a structure cannot refer to itself. Names of enums and structures are "
     "compared letter by letter; a characteristic may be named by its name, UTI or UUID in any "
     "letter case, and the text shows the reference in small letters. Usual causes are a "
     "misspelled "
     "name, structures in the wrong order, and several profiles given in the wrong order.",
     "<format name=\"uint8\" enum=\"Lamp effect\"/>    the enum is named Lamp Effect"},
    {"profile.wrong-element",
     "Non-enum element found in enum list\n"
     "Non-value found in enum definition\n"
     "node must be of type XMLElement",
     "A definition is read from an element of its own kind. An enum is made from an element enum, "
     "an enum value from an element value, and every definition from an element, not from text or "
     "a "
     "comment. When a profile is loaded, elements of other names are passed over, so this concerns "
     "programs that build definitions from elements that they picked themselves.",
     "QVEnumXMLObject::initWithXMLElement, called with the element <Enum name=\"E\"/>"},
};

}  // namespace

std::span<const RuleRow> profileRuleRows() {
  return kRows;
}

}  // namespace qv
