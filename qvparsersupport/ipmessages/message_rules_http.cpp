#include "qvparsersupport/ipmessages/message_rule_rows.h"

namespace qv {

namespace {

constexpr RuleRow kRows[] = {
    {"http.204-body", "HTTP code 204 indicates no content, but this message has content.",
     "A response with code 204 has no body. The code tells the controller that nothing follows the "
     "header, so it reads whatever comes next as the start of the next response, and from there on "
     "every answer of the connection is misread. Usual causes are a body left over in the response "
     "buffer and a handler that appends \"{}\" whatever the code is.",
     "HTTP/1.1 204 No Content\n"
     "\n"
     "{}"},
    {"http.500", "HTTP code 500 indicates Internal Server Error",
     "A response has code 500 only with status -70401. Insufficient privileges are said with code "
     "500 and a JSON body whose \"status\" is -70401. Any other 500 means that the accessory "
     "failed "
     "at a request that it should have served, or should have refused with 400. Look for an error "
     "path that nobody handles, an exhausted resource, or a device behind the accessory that does "
     "not answer.",
     "HTTP/1.1 500 Internal Server Error\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 17\n"
     "\n"
     "{\"status\":-70402}"},
    {"http.characteristics-url",
     "Invalid ID format in URL query string.\n"
     "URL did not match expected pattern.",
     "The URL of a read lists ids of the form aid.iid. After \"/characteristics?id=\" stand one or "
     "more ids, each an accessory id and an instance id in decimal digits with a dot between them, "
     "separated by single commas. Nothing else belongs there: no other query parameter before or "
     "after, no blank, no percent encoding, no comma at the end. Usual causes are a general URL "
     "encoder that turns the commas into %2C, and a list that is written although it is empty.",
     "GET /characteristics?id=1.10,1.11, HTTP/1.1"},
    {"http.content-type", "Invalid HTTP content type. Expected \"%@\".",
     "A body is announced with exactly the type of its message. Pairing messages carry "
     "application/pairing+tlv8, JSON messages application/vel+json. The value is compared byte for "
     "byte, so a parameter such as charset or another letter case breaks the rule, and the field "
     "must be spelled Content-Type. A pairing message without the field breaks it even when it has "
     "no body. The body of such a message is not decoded, so further faults may hide in it. The "
     "usual cause is an HTTP library that appends a charset or lower-cases field names.",
     "POST /pair-setup HTTP/1.1\n"
     "Content-Type: application/pairing+tlv8; charset=utf-8"},
    {"http.database-request-body", "Attribute database requests should not contain an HTTP body.",
     "A request for the attribute database has no body. GET /accessories asks for everything at "
     "once and takes no parameters, so an accessory does not look for a body, and may take its "
     "bytes for the next request. The usual cause is a client that sends the body of the request "
     "before, or an empty JSON object, with every request.",
     "GET /accessories HTTP/1.1\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 2\n"
     "\n"
     "{}"},
    {"http.status-code", "HTTP code %@",
     "A response has one of the codes that its message allows. Responses and events use 200, 204, "
     "207, 400 and 500; the answer to an identify request uses 204 and 400 only. Controllers "
     "have no rule for any other code. The text names the code as it was "
     "received, or (null) when the start line has none. The usual cause is a general HTTP server "
     "that answers in its own way, for example 201 after a POST or 404 for an unknown id.",
     "HTTP/1.1 201 Created"},
    {"http.write-207", "Response code to write must be 204.",
     "A write that succeeded is answered with 204. Code 207 answers a write only when something "
     "failed, and its body then gives a \"status\" for each characteristic. Here no entry under "
     "\"characteristics\" has a number as its status, so the controller cannot tell which write "
     "failed. The usual cause is a handler that chooses the code before it knows the results and "
     "then lists only failures, of which there are none.",
     "HTTP/1.1 207 Multi-Status\n"
     "Content-Type: application/vel+json\n"
     "Content-Length: 22\n"
     "\n"
     "{\"characteristics\":[]}"},
    {"message.host", "",
     "The program around the library has set this text. A host may attach a text of its own to a "
     "message that it judges, and the text then stands among the message's faults. The library "
     "has no text of this rule. Ask the program that set it what it demands.",
     "message->setErrorDescription(\"received before pairing was finished\");"},
};

}  // namespace

std::span<const RuleRow> httpRuleRows() {
  return kRows;
}

}  // namespace qv
