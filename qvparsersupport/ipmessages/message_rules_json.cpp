#include "qvparsersupport/ipmessages/message_rule_rows.h"

namespace qv {

namespace {

constexpr RuleRow kRows[] = {
    {"json.207-characteristics",
     "Key 'characteristics' is absent\n"
     "Value for key 'characteristics' is not an array",
     "A 207 body has an array under \"characteristics\". Code 207 says that the results differ "
     "from "
     "one characteristic to the next, and that array is where the controller finds them. Usual "
     "causes are code 207 for a failure of the whole request, which is 400 or 500, and a "
     "serializer "
     "that writes a single entry as an object instead of an array of one.",
     "HTTP/1.1 207 Multi-Status\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 17\n"
     "\n"
     "{\"status\":-70402}"},
    {"json.207-entry", "JSON entity for key 'characteristic' is expected to be of type dictionary",
     "Each entry of a 207 body is an object. An entry names its characteristic with \"aid\" and "
     "\"iid\" and gives its \"status\"; a bare number or string names nothing. The usual cause is "
     "a "
     "handler that lists only the status codes, in the order of the request.",
     "{\"characteristics\":[0,-70402]}"},
    {"json.207-status",
     "HTTP code 207 indicates each characteristic in the response body must include a status",
     "Each entry of a 207 body has a \"status\". Entries that succeeded need one as well, with the "
     "value 0: with code 207 a controller takes a missing status for neither success nor failure. "
     "The check ends at the first entry without one. The usual cause is a handler that adds a "
     "status only where something failed.",
     "{\"characteristics\":[{\"aid\":1,\"iid\":10,\"value\":true},\n"
     "                    {\"aid\":1,\"iid\":11,\"status\":-70402}]}"},
    {"json.empty-body", "Invalid length for JSON formatted HTTP payload.",
     "A message that announces JSON has a body. The header names application/vel+json, but no "
     "bytes "
     "follow it, and no bytes are no JSON text. To say nothing, leave the Content-Type away (a "
     "response then has code 204). The usual cause is a handler that always writes the field and "
     "fails to serialize the body.",
     "HTTP/1.1 200 OK\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 0"},
    {"json.format", "Invalid format string.",
     "The \"format\" of a characteristic is a known one. Known are bool, int, uint8, uint16, "
     "uint32, "
     "uint64, float, string, date, tlv8, data, array and dict, in exactly this spelling. The "
     "format "
     "decides how the value is decoded. Usual causes are the name of a programming language's "
     "type, "
     "such as \"double\" or \"int32\", and capital letters.",
     "{\"type\":\"A102\",\"iid\":11,\"perms\":[\"pr\"],\"format\":\"int32\",\"value\":40}"},
    {"json.kind", "Unknown JSON object type.",
     "A value is of a kind that JSON knows. An object of the JSON model was made from no value, or "
     "from something that is no number, string, boolean, array, object or null, and without being "
     "told which kind to expect. A parsed body never gives such a value; a program that builds "
     "objects by hand can.",
     "QVIPJSONObject::make<QVIPJSONObject>(std::nullopt, nullptr);"},
    {"json.payload", "Payload contains an error.",
     "The JSON body as a whole is free of faults. This is the summary of a body in which at least "
     "one object or key is faulty; it is left out when the message already has a text. What is "
     "wrong, and where, stands in the faults that follow it.",
     "{\"accessories\":[{\"aid\":\"1\",\"services\":[]}]}"},
    {"json.payload-syntax", "HTTP payload is not a valid JSON object.",
     "The body of a JSON message is a JSON text. It must be complete, in UTF-8, and hold nothing "
     "after its value; comments, commas at the end and single quotes are no JSON. The offset is "
     "where reading could not go on, which for a body cut short is its end. Usual causes are a "
     "buffer that is too small for the body, a Content-Length that does not count bytes, and text "
     "that is put into strings without escaping. Bodies that exceed the limits set for reading "
     "JSON "
     "are refused with the same text.",
     "{\"characteristics\":[{\"aid\":1,\"iid\":10,\"value\":true},]}"},
    {"json.permission", "Invalid permission string.",
     "Each entry of \"perms\" is a known permission. Known are pr (read), pw (write), ev (events), "
     "ur, aa, hd and tw, in small letters. A controller decides by them what it offers to the "
     "user, "
     "so a misspelled one takes the ability away. The usual cause is a word such as \"read\" or "
     "\"PR\".",
     "{\"type\":\"A101\",\"iid\":10,\"perms\":[\"pr\",\"write\"],\"format\":\"bool\",\"value\":"
     "true}"},
    {"json.required-key", "Required key '%@' was not provided.",
     "An object has all the keys that its place demands. The attribute database needs "
     "\"accessories\", "
     "an accessory \"aid\" and \"services\", a service \"type\", \"iid\" and \"characteristics\", "
     "a "
     "characteristic \"type\", \"iid\", \"perms\" and \"format\". Reads, writes and events need "
     "\"characteristics\", and each entry \"aid\" and \"iid\"; an entry of a 207 answer to a read "
     "needs "
     "a \"value\" too, unless it has a \"status\". Keys are compared letter by letter. Usual "
     "causes are a key "
     "in another letter case and a serializer that leaves out keys whose value is zero, false or "
     "empty.",
     "{\"characteristics\":[{\"aid\":1,\"value\":true}]}"},
    {"json.status",
     "Key '%@' is absent\n"
     "Value for key '%@' is not %@",
     "Where a status decides, \"status\" is a number. A response with code 500 and a JSON body is "
     "read for one, and so is each entry of a 207 body; the rule is broken when the key is missing "
     "(with code 500) or when its value is a string, null or anything else that is no number. The "
     "usual cause is a status written as text.",
     "{\"characteristics\":[{\"aid\":1,\"iid\":10,\"status\":\"-70402\"}]}"},
    {"json.syntax", "Unable to parse HTTP body as JSON: %@",
     "A body that a response calls JSON can be parsed. The check looks at every response whose "
     "Content-Type contains \"json\", whatever its class. The text ends with what the parser "
     "stumbled over. The causes are those of json.payload-syntax: a body cut short, bytes that are "
     "no UTF-8, a missing escape, or a comma too many.",
     "HTTP/1.1 200 OK\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 21\n"
     "\n"
     "{\"characteristics\":[{"},
    {"json.top-level", "Top-level JSON entity is not an object",
     "The JSON body of a response is an object. Everything that a response says stands under the "
     "keys of one object, \"accessories\", \"characteristics\" or \"status\". The usual cause is a "
     "handler that sends the bare array of characteristics.",
     "[{\"aid\":1,\"iid\":10,\"value\":true}]"},
    {"json.unit", "Invalid unit string.",
     "The \"unit\" of a characteristic is a known one. Known are celsius, percentage, arcdegrees, "
     "lux and seconds, in small letters. A characteristic without one of these units leaves the "
     "key "
     "away. Usual causes are a symbol such as \"%\" or \"C\", and an empty string.",
     "{\"type\":\"A102\",\"iid\":11,\"perms\":[\"pr\"],\"format\":\"int\",\"unit\":\"%\",\"value\":"
     "40}"},
    {"json.unknown-format", "Cannot parse value due to unknown format type.",
     "A readable characteristic has a format that can be decoded. Neither a definition for its "
     "\"type\" nor its own \"format\" names a format that has a form in JSON, so its \"value\" "
     "cannot "
     "be judged. A misspelled or missing \"format\" (see json.format) and the format date, which "
     "has "
     "no form in JSON, are the usual causes. When the characteristic is defined by a profile, the "
     "format of the definition counts, so loading the right profile can settle it.",
     "{\"type\":\"FF01\",\"iid\":12,\"perms\":[\"pr\"],\"format\":\"date\",\"value\":0}"},
    {"json.uuid-type",
     "Short UUID is not a string.\n"
     "Too many characters for a VEL short form UUID.",
     "The \"type\" of a service or characteristic is a UUID. It is either the short form, up to 8 "
     "characters that stand for the protocol's own UUIDs, or the full form of 36 characters with "
     "hyphens. Nothing between the two can be completed to a UUID, and nothing longer is one. "
     "Usual "
     "causes are braces or a prefix such as \"urn:uuid:\", missing hyphens, and a number instead "
     "of "
     "a string.",
     "{\"type\":\"0000A1010000100080000A3F5C91D270\",\"iid\":10,\"perms\":[\"pw\"],\"format\":"
     "\"bool\"}"},
    {"json.write-only", "Key '%@' is not allowed in a write only characteristic",
     "A characteristic without the permission \"pr\" shows no value. The permission says that "
     "paired "
     "controllers may read it; without it a \"value\" in the attribute database gives away what "
     "must "
     "not be read, or the permission was forgotten. The usual cause is a handler that writes the "
     "value of every characteristic without looking at its permissions.",
     "{\"type\":\"A002\",\"iid\":7,\"perms\":[\"pw\"],\"format\":\"bool\",\"value\":false}"},
};

}  // namespace

std::span<const RuleRow> jsonRuleRows() {
  return kRows;
}

}  // namespace qv
