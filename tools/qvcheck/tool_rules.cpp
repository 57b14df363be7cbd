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
    {"input.damaged",
     {},
     "Each byte of the input belongs to a message. These bytes begin none: something is missing "
     "from the capture, it starts in the middle, the connection is encrypted, or the message "
     "before has another length than it says. This is a fact about the input, not a fault of the "
     "peer. When a whole message may be lost, later responses of the connection are not judged.",
     "a stream of responses that begins with \"true}]}\""},
    {"input.incomplete",
     {},
     "The input holds each message to its end. The capture stops inside a header or a body, so "
     "this message is shown but not judged. Record for longer, or close the connection before the "
     "recording ends.",
     "Content-Length: 100, and 40 bytes until the end of the file"},
    {"input.too-large",
     {},
     "A message is no larger than the limit set for it. The limit of --max-message-size keeps the "
     "memory that the tool needs within bounds. A larger message is skipped and not judged; what "
     "follows it is checked as usual.",
     "Content-Length: 900000000"},
    {"input.unpaired",
     {},
     "The input holds the request for each response. Responses are paired with requests in order, "
     "and most rules depend on what was asked. This one has no certain request, because the "
     "capture began too late, bytes were lost, or the end of a message was guessed. It is not "
     "judged; each reason is reported once for a connection.",
     "three responses, but only two requests"},
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
    {"profile.json",
     {},
     "An archive of profiles is a well-formed JSON text. A file that begins with \"{\" is taken "
     "for "
     "an archive, and the JSON parser stopped at the byte that is named. Usual causes are a file "
     "that was cut short and an edit by hand that lost a comma or a quote.",
     "{\"enums\":[],\"tlv8s\":["},
    {"profile.refused",
     {},
     "A profile can be loaded. It was refused with a text for which there is no rule of its own; "
     "the text says why.",
     "a refusal with a text that stands in no rule"},
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
