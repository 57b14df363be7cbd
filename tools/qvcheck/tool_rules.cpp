#include "tools/qvcheck/tool_rules.h"

#include <algorithm>

namespace qv::check {

namespace {

constexpr QVRule kRules[] = {
    {"class.unrecognised",
     {},
     "A request is one that some message class recognises. Method and URL together decide, letter "
     "by letter. A request that no class recognises is not judged, nor is the response to it; it "
     "may well be traffic of another kind on the same connection. The hint names the recognised "
     "request that comes nearest and what differs.",
     "PATCH /characteristics HTTP/1.1"},
    {"http.closed-early",
     {},
     "A connection is closed behind a message, not inside of one. The capture holds everything up "
     "to the close, and the header or the body goes no further, so its sender did not send what it "
     "had announced. The usual cause is a Content-Length that is too large: it counts characters "
     "instead of bytes, or a terminating zero; the peer then waits for the rest until it gives up "
     "and closes. A handler that fails after its header, or chunks without a last one, show in the "
     "same way. What came of the message is not judged.",
     "Content-Length: 165, and 145 bytes until the connection is closed"},
    {"http.framing",
     {},
     "A message says in one clear way how long it is. The header does not settle where the body "
     "ends, or the body does not keep to what the header says: a Content-Length that is repeated, "
     "contradicts another, has a sign or is no number; one that stands beside Transfer-Encoding; "
     "an unknown transfer coding; broken chunks or trailers; a body that ends only with the "
     "connection, is announced and missing, or holds another start line. Receivers differ in how "
     "they read such a message, and one that reads it in another way loses its place in the "
     "stream. The text says which of these it is, and how the tool went on.",
     "HTTP/1.1 200 OK\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 22\n"
     "Content-Length: 24"},
    {"http.line-ends",
     {},
     "Header lines end in CR LF, and a message begins with its start line. A bare LF or CR, or an "
     "empty line before the start line, is understood by some receivers only. The usual cause is a "
     "header put together from text with the line ends of the host, or a body that is followed by "
     "a line end that its length does not count.",
     "HTTP/1.1 204 No Content<LF>"},
    {"http.reset",
     {},
     "A connection is reset behind a message, not inside of one. Everything up to the reset is in "
     "the capture, and the message goes no further, so it is not judged. Whose fault that is "
     "cannot be told: programs that end, devices that start anew and closing with bytes unread all "
     "reset connections.",
     "Content-Length: 165, and 145 bytes until a RST"},
    {"input.body",
     {},
     "The input holds each body as it was sent. This one is missing, or it holds signs of a "
     "conversion, or its header tells another length, so the message is not judged. Either the "
     "program that wrote the capture changed the body, or the sender counted wrong: a capture of "
     "the packets tells which.",
     "a record whose header says Content-Length: 54, with a body of 51 bytes"},
    {"input.damaged",
     {},
     "Each byte of the input belongs to a message. These bytes begin none: something is missing "
     "from the capture, it starts in the middle, the connection is encrypted, or the message "
     "before has another length than it says. This is a fact about the input, not a fault of the "
     "peer. When a whole message may be lost, later responses of the connection are not judged.",
     "a stream of responses that begins with \"true}]}\""},
    {"input.empty",
     {},
     "An input holds traffic. There was nothing in this one that could be checked; the text says "
     "what there was instead. Usual causes are a capture filter that matches nothing, a recording "
     "that never began, and traffic in a tunnel, which is not looked into.",
     "a packet file that holds its header alone"},
    {"input.gap",
     {},
     "The input holds every byte that went over the wire. These were received by the other side, "
     "as its acknowledgements tell, and are in no packet of the capture: it missed packets, or cut "
     "them short. Messages that lack bytes are not judged, and neither are responses whose request "
     "is uncertain because of it. This is a fact about the input, not a fault of the peer. Give "
     "the capturing program a larger buffer and no snapshot length.",
     "segments 1 to 1448 and 2897 to 4344, acknowledged up to 4344"},
    {"input.incomplete",
     {},
     "The input holds each message to its end. The capture stops inside a header or a body, so "
     "this message is shown but not judged. Record for longer, or close the connection before the "
     "recording ends.",
     "Content-Length: 100, and 40 bytes until the end of the file"},
    {"input.left-out",
     {},
     "What the input holds is HTTP over TCP. Packets of a link type that is not read, connections "
     "on which no HTTP was seen, entries with addresses of other kinds, or files of a directory "
     "that "
     "are no captures were left out. If a connection is the accessory's: it may be encrypted, or "
     "--port is wrong.",
     "a packet file with web traffic on port 443"},
    {"input.limit",
     {},
     "What has to be remembered of an input keeps within bounds. Too many bytes waited for "
     "others that were lost, too many connections were open at once, or too much of their messages "
     "was unfinished; the oldest were given up, and what belongs to them is not judged.",
     "20,000 connections that never end"},
    {"input.no-events",
     {},
     "The input holds event notifications as well. An HTTP archive has requests and their "
     "responses alone, so nothing is said about events.",
     "household.har"},
    {"input.order",
     {},
     "The pieces of an input continue each other. They are read in the order of their names, with "
     "numbers compared as numbers, and this one begins earlier than the one in front of it ends. "
     "Either the names give another order than the capture had, or the files are captures of their "
     "own with names that differ in numbers alone; what lies across them may be paired wrongly.",
     "night1.pcap, recorded at 23:00, and night2.pcap, recorded at 22:00"},
    {"input.overlap",
     {},
     "Bytes of a stream that come twice are the same both times. Two packets give different bytes "
     "for the same place; the first ones count, as for most receivers. The usual cause is "
     "equipment on the way that changes segments, or a test of such equipment.",
     "sequence number 1: \"GET /\", and again sequence number 1: \"PUT /\""},
    {"input.too-large",
     {},
     "A message is no larger than the limit set for it. The limit of --max-message-size keeps the "
     "memory that the tool needs within bounds. A larger message is skipped and not judged; what "
     "follows it is checked as usual.",
     "Content-Length: 900000000"},
    {"input.unanswered",
     {},
     "The input holds a response to each request. The responses end before these requests do: the "
     "recording of that direction stopped too early, the connection was closed, or the accessory "
     "never answered. The requests themselves are checked as usual. They are counted once for a "
     "connection, and not where it is uncertain which request a response answers. A request that "
     "the end of the capture cuts off is not among them.",
     "three requests, and a file of responses that is empty"},
    {"input.unpaired",
     {},
     "The input holds the request for each response. Responses are paired with requests in order, "
     "and most rules depend on what was asked. This one has no certain request, because the "
     "capture began too late, bytes were lost, or the end of a message was guessed. It is not "
     "judged; each reason is reported once for a connection.",
     "three responses, but only two requests"},
    {"input.unreadable",
     {},
     "An input can be read to its end. It is not there, may not be opened, begins like no form "
     "that "
     "is read, or cannot be read on from some place; the text says which. What was read before "
     "counts.",
     "qvcheck traffic --profile lamp.xml run1.pacp"},
    {"json.repeated-key",
     {},
     "An object in a JSON body has each key once. Of a repeated key the last value counts here; "
     "other readers take the first or refuse the body. The usual cause is a writer that adds a key "
     "in two places.",
     "{\"aid\":1,\"iid\":10,\"iid\":11,\"value\":true}"},
    {"json.unread-key",
     {},
     "A JSON body has only keys that are looked at. Nothing reads this key here, so it has no "
     "effect and nothing was checked about it. Often it is a misspelled optional key "
     "(\"max-value\" "
     "for \"maxValue\"), or one for another kind of message; it can be an extension as well.",
     "{\"aid\":1,\"iid\":10,\"value\":true,\"remotely\":true}"},
    {"profile.earlier-document",
     {},
     "A load of several documents ends with the one that counts by transport. Only the "
     "characteristics of the last document are in the list that is searched by transport and "
     "checked for transformers; those of earlier documents are found through services and by "
     "their parents alone. Put the vocabulary that traffic is checked against into the last "
     "document, or archive the documents together: an archive keeps all of them in the list.",
     "qvcheck traffic --profile lamp.xml --profile base.xml"},
    {"profile.inverted-limits",
     {},
     "A minimum is not above its maximum. No value can lie between these two. Where one of "
     "them is taken over from the characteristic, the other one was set for a transport "
     "alone.",
     "<minValue value=\"100\"/>\n"
     "<maxValue value=\"0\"/>"},
    {"profile.json",
     {},
     "An archive of profiles is a well-formed JSON text. A file that begins with \"{\" is taken "
     "for "
     "an archive, and the JSON parser stopped at the byte that is named. Usual causes are a file "
     "that was cut short and an edit by hand that lost a comma or a quote.",
     "{\"enums\":[],\"tlv8s\":["},
    {"profile.listed-twice",
     {},
     "A service lists each characteristic once for a transport. It stands twice in a list, "
     "or in both. Names, UTIs and UUIDs may hide that two references mean the same one.",
     "<required><characteristic ref=\"Lamp On\"/></required>\n"
     "<optional><characteristic ref=\"lamp on\"/></optional>"},
    {"profile.no-transport",
     {},
     "A characteristic or a service has a transport. Without ip and btle it has no keys, so "
     "nothing ever finds it, and its name may even repeat without being refused.",
     "<characteristic name=\"Lamp On\"><format name=\"bool\"/></characteristic>"},
    {"profile.out-of-range",
     {},
     "A value can be held by its format. A limit or a value of an enum lies outside of what "
     "the format holds, so no traffic ever carries it. Of a bitmask the value is the number "
     "of a bit, from 1 to the bits of the format.",
     "<enum name=\"Mode\" format=\"uint8\">...<value value=\"256\" symbol=\"Auto\"/>"},
    {"profile.partial-number",
     {},
     "A number is read as it is written. Reading skips leading blanks, stops at the first "
     "character that is no digit, and brings what does not fit 64 bits to the nearest number "
     "that does. Here the number that is read is not the one that is written.",
     "<maxValue value=\"1OO\"/>"},
    {"profile.refused",
     {},
     "A profile can be loaded. It was refused with a text for which there is no rule of its own; "
     "the text says why.",
     "a refusal with a text that stands in no rule"},
    {"profile.repeated-symbol",
     {},
     "The symbols of an enum differ. Generated source can hold a name only once, and a "
     "person cannot tell the two values apart.",
     "<value value=\"1\" symbol=\"On\"/>\n"
     "<value value=\"2\" symbol=\"On\"/>"},
    {"profile.repeated-type",
     {},
     "The fields of a TLV8 structure have different types. Of two fields with one type the "
     "first counts; the later one is never used.",
     "<field type=\"0x01\" name=\"State\" format=\"uint8\"/>\n"
     "<field type=\"0x01\" name=\"Method\" format=\"uint8\"/>"},
    {"profile.repeated-value",
     {},
     "The values of an enum differ. Of two with one value the first is found; the later "
     "symbol is never shown. Values are compared as they are read, so 1 and 01 repeat, as do "
     "yes and true of the format bool.",
     "<value value=\"1\" symbol=\"On\"/>\n"
     "<value value=\"1\" symbol=\"Active\"/>"},
    {"profile.shadowed",
     {},
     "A definition is found by its name, UTI and UUID. An earlier document has a definition "
     "with the same key, and the first match counts, so references and traffic reach that "
     "one. Names must be unique within one section of one document only, which is why this "
     "is not refused.",
     "<enum name=\"Mode\" format=\"uint8\"> in base.xml and in lamp.xml"},
    {"profile.unread-attribute",
     {},
     "A profile has only attributes that are looked at. Attributes that a definition does not know "
     "are refused, but not those of what it is made up of: type, format, the limits, the step, the "
     "unit and the lists. Nothing reads this one, so it has no effect. The hint names the "
     "attribute that is nearest.",
     "<maxValue vale=\"100\"/>"},
    {"profile.unread-element",
     {},
     "A profile has only elements that are looked at. Nothing reads this one, so neither it nor "
     "anything within it has an effect. It is misspelled, stands in the wrong place, or is meant "
     "for another program. The hint names the element of this place that is nearest, or else the "
     "places where this one is read.",
     "<characteristics><characteristc name=\"Lamp On\">..."},
    {"profile.unused",
     {},
     "An enum or a TLV8 structure is used by something. No field and no characteristic names "
     "it. The usual cause is a reference that was misspelled or dropped. The structure "
     "Pairing is used by the pairing messages.",
     "<enum name=\"Lamp Efect\" format=\"uint8\">"},
    {"profile.valueless-enum",
     {},
     "An enum has a format that has values. The formats date, tlv8, data, array and dict "
     "have none that could be compared, so such an enum refuses every value; a bitmask needs "
     "an integer format, because others have no bits.",
     "<enum name=\"Keys\" format=\"data\">"},
    {"profile.xml",
     {},
     "A profile is a well-formed XML document in UTF-8. The text comes from the XML parser, the "
     "line and column are where it stopped. A DOCTYPE is refused as well, and so is nesting beyond "
     "256 levels. Usual causes are an end tag that is missing or misspelled, and an & or < in an "
     "attribute that is not written &amp; or &lt;.",
     "<profile>\n"
     "  <enums></profile>"},
};

const QVRule* ruleAmong(std::span<const QVRule> rules, std::string_view id) {
  const auto place = std::ranges::find(rules, id, &QVRule::id);
  return place == rules.end() ? nullptr : &*place;
}

}  // namespace

std::span<const QVRule> toolRules() {
  return kRules;
}

const QVRule* anyRuleWithID(std::string_view id) {
  const QVRule* rule = ruleWithID(id);
  return rule != nullptr ? rule : ruleAmong(kRules, id);
}

std::string_view ruleOfRefusal(std::string_view reason) {
  const QVRule* rule = ruleForText(reason);
  return rule != nullptr ? rule->id : "profile.refused";
}

}  // namespace qv::check
