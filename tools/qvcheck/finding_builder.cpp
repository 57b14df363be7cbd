#include "tools/qvcheck/finding_builder.h"

#include <algorithm>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/ipmessages/json_message.h"
#include "tools/qvcheck/excerpt.h"

namespace qv::check {

namespace {

using capture::FramedMessage;
using capture::FramingNoteKind;

struct NoteRow {
  FramingNoteKind kind;
  const char* rule;
  Severity severity;
};

// Notes without a row are left out.
constexpr NoteRow kNotes[] = {
    {FramingNoteKind::emptyLinesBeforeStartLine, "http.line-ends", Severity::warning},
    {FramingNoteKind::bareLineFeed, "http.line-ends", Severity::warning},
    {FramingNoteKind::bareCarriageReturn, "http.line-ends", Severity::warning},
    {FramingNoteKind::spaceBeforeColon, "http.framing", Severity::warning},
    {FramingNoteKind::foldedFramingField, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthRepeated, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthDiffers, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthSigned, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthUnreadable, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthHuge, "http.framing", Severity::warning},
    {FramingNoteKind::contentLengthBesideTransferEncoding, "http.framing", Severity::warning},
    {FramingNoteKind::unknownTransferCoding, "http.framing", Severity::warning},
    {FramingNoteKind::announcedBodyMissing, "http.framing", Severity::warning},
    {FramingNoteKind::chunkSizeUnreadable, "http.framing", Severity::warning},
    {FramingNoteKind::chunkSizeOverflow, "http.framing", Severity::warning},
    {FramingNoteKind::chunkLineTooLong, "http.framing", Severity::warning},
    {FramingNoteKind::chunkDataUnterminated, "http.framing", Severity::warning},
    {FramingNoteKind::trailersPresent, "http.framing", Severity::note},
    {FramingNoteKind::trailersUnterminated, "http.framing", Severity::warning},
    {FramingNoteKind::bodyEndedByClose, "http.framing", Severity::note},
    {FramingNoteKind::startLineInBody, "http.framing", Severity::warning},
    {FramingNoteKind::largerThanLimit, "input.too-large", Severity::note},
};

bool isLineEnd(std::uint8_t byte) {
  return byte == '\r' || byte == '\n';
}

std::string_view partName(QVMessagePart part) {
  switch (part) {
    case QVMessagePart::startLine:
      return "start_line";
    case QVMessagePart::header:
      return "header";
    case QVMessagePart::body:
      return "body";
    case QVMessagePart::none:
      break;
  }
  return {};
}

template <class Definition>
bool describeAs(const char* kind, const QVXMLObject& object, DefinitionPlace& place) {
  const auto* definition = dynamic_cast<const Definition*>(&object);
  if (definition == nullptr) return false;
  place.kind = kind;
  place.name = textOrNull(definition->name());
  if constexpr (requires { definition->uuid(); }) place.uuid = definition->uuid();
  return true;
}

std::optional<DefinitionPlace> placeOf(const QVXMLObject* object) {
  if (object == nullptr) return std::nullopt;
  DefinitionPlace place;
  const bool known = describeAs<QVTLV8FieldXMLObject>("TLV8 field", *object, place) ||
                     describeAs<QVTLV8XMLObject>("TLV8", *object, place) ||
                     describeAs<QVEnumXMLObject>("enum", *object, place) ||
                     describeAs<QVCharacteristicXMLObject>("characteristic", *object, place) ||
                     describeAs<QVServiceXMLObject>("service", *object, place);
  if (!known) return std::nullopt;
  if (const auto& element = object->element()) {
    place.file = element->document().name();
    place.line = element->position().line;
  }
  return place;
}

// The number that an excerpt of the body gives its bytes: their place in the stream, or in the body
// of a message that comes from a record.
std::uint64_t shownOffset(const FramedMessage& message, std::uint64_t offsetInBody) {
  return message.isRecord ? offsetInBody : message.streamOffsetOf(offsetInBody);
}

std::optional<Excerpt> jsonExcerpt(const FramedMessage& message, ByteRange mark) {
  if (!message.body) return std::nullopt;
  Excerpt excerpt = textBodyExcerpt(*message.body, mark);
  excerpt.offset = shownOffset(message, excerpt.offset);
  return excerpt;
}

// A fault that leaves a JSON body unread.
bool leavesBodyUnread(const QVMessageFault& fault) {
  constexpr std::string_view kRules[] = {"http.content-type", "json.empty-body",
                                         "json.payload-syntax"};
  return std::ranges::find(kRules, fault.rule) != std::end(kRules);
}

}  // namespace

std::vector<const QVMessageFault*> tellingFaults(const QVIPMessage& typed) {
  const auto* json = dynamic_cast<const QVIPJSONPayloadMessage*>(&typed);
  const bool isUnread = json != nullptr && !json->cachedJSONPayload();
  bool isExplained = false;
  const auto& faults = typed.faults();
  std::vector<const QVMessageFault*> telling;
  for (const QVMessageFault& fault : faults) {
    const bool explains = isUnread && leavesBodyUnread(fault);
    const bool isConsequence = isExplained && !explains && fault.part == QVMessagePart::body;
    const bool isGeneral = fault.rule == "json.payload" && &fault != &faults.back();
    if (!isConsequence && !isGeneral) telling.push_back(&fault);
    isExplained = isExplained || explains;
  }
  return telling;
}

Finding findingForFault(const QVMessageFault& fault, const FramedMessage& message) {
  Finding finding;
  finding.rule = fault.rule;
  finding.text = fault.text;
  finding.expected = fault.expected;
  finding.actual = fault.actual;
  finding.definition = placeOf(fault.definition.get());
  finding.location.part = partName(fault.part);
  finding.location.tlv8Path = fault.tlv8Path;
  finding.location.jsonPointer = fault.jsonPointer;
  finding.location.byteOffset = message.headerOffset;
  if (!fault.range) return finding;
  finding.location.byteLength = fault.range->length;
  if (fault.part == QVMessagePart::body) {
    const std::uint64_t origin = message.streamOffsetOf(fault.range->offset);
    finding.location.byteOffset = origin;
    const bool isJSON = fault.jsonPointer || namesRule("json", fault.rule);
    if (isJSON) {
      finding.excerpt = jsonExcerpt(message, *fault.range);
    } else if (message.body && fault.range->offset < message.body->size()) {
      // Where the body ends there is nothing to show.
      finding.excerpt =
          bodyExcerpt(*message.body, *fault.range, shownOffset(message, fault.range->offset));
    }
  } else {
    const std::uint64_t inRecord = message.isRecord ? 0 : message.headerOffset;
    if (!message.isRecord) finding.location.byteOffset = inRecord + fault.range->offset;
    finding.excerpt = headerExcerpt(message.header, *fault.range, inRecord);
  }
  return finding;
}

std::optional<Finding> findingForNote(const capture::FramingNote& note,
                                      const FramedMessage& message) {
  const auto* row =
      std::find_if(std::begin(kNotes), std::end(kNotes),
                   [&](const NoteRow& candidate) { return candidate.kind == note.kind; });
  if (row == std::end(kNotes)) return std::nullopt;
  Finding finding = remark(row->rule, row->severity, note.text, note.offset, note.length);
  const std::uint64_t headerEnd = message.headerOffset + message.header.size();
  if (message.isRecord || note.offset < message.headerOffset || note.offset >= headerEnd) {
    return finding;
  }
  if (note.length >= message.header.size()) return finding;  // concerns the header as a whole
  ByteRange mark{note.offset - message.headerOffset, note.length};
  while (mark.length > 1 && isLineEnd(message.header[mark.offset + mark.length - 1])) --mark.length;
  finding.location.part = "header";
  finding.excerpt = headerExcerpt(message.header, mark, message.headerOffset);
  return finding;
}

Finding findingForKey(std::string rule, std::string text, const JSONKeyPlace& place,
                      const FramedMessage& message) {
  const ByteRange range = place.range.value_or(ByteRange());
  Finding finding = remark(std::move(rule), Severity::warning, std::move(text),
                           message.streamOffsetOf(range.offset), range.length);
  finding.location.part = "body";
  finding.location.jsonPointer = place.pointer;
  if (place.range) finding.excerpt = jsonExcerpt(message, range);
  return finding;
}

Finding remark(std::string rule, Severity severity, std::string text, std::uint64_t offset,
               std::uint64_t length) {
  Finding finding;
  finding.rule = std::move(rule);
  finding.severity = severity;
  finding.fromTool = true;
  finding.text = std::move(text);
  finding.location.byteOffset = offset;
  finding.location.byteLength = length;
  return finding;
}

}  // namespace qv::check
