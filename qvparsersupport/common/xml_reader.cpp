#include "qvparsersupport/common/xml_reader.h"

#include <expat.h>
#include <fmt/format.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include "qvparsersupport/common/xml_arena.h"

namespace qv {

namespace {

// Stands between namespace and local name in what the parser reports. No XML document can hold it.
constexpr char kSeparator = '\x01';
constexpr std::size_t kLargestPiece = std::size_t{1} << 30;

struct ParserDeleter {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

// What the handlers share. An exception must not travel through the parser, so it waits here.
struct Reader {
  XML_Parser parser;
  XMLTreeBuilder builder;
  std::vector<XMLAttribute> attributes;
  std::string refusal;
  std::size_t refusedAt = 0;
  std::exception_ptr exception;

  void refuse(std::string text) {
    if (refusal.empty()) {
      refusal = std::move(text);
      refusedAt = static_cast<std::size_t>(XML_GetCurrentByteIndex(parser));
    }
    XML_StopParser(parser, XML_FALSE);
  }

  template <class Work>
  void guarded(Work&& work) {
    if (exception || !refusal.empty()) return;
    try {
      work();
    } catch (...) {
      exception = std::current_exception();
      XML_StopParser(parser, XML_FALSE);
    }
  }
};

std::string_view localName(const XML_Char* name) {
  const std::string_view full(name);
  const std::size_t separator = full.rfind(kSeparator);
  return separator == std::string_view::npos ? full : full.substr(separator + 1);
}

void onStart(void* user, const XML_Char* name, const XML_Char** attributes) {
  Reader& reader = *static_cast<Reader*>(user);
  reader.guarded([&] {
    if (reader.builder.depth() >= kXMLDepthLimit) {
      reader.refuse(fmt::format("elements are nested deeper than {} levels", kXMLDepthLimit));
      return;
    }
    const auto offset = static_cast<std::size_t>(XML_GetCurrentByteIndex(reader.parser));
    reader.builder.openElement(localName(name), offset);
    reader.attributes.clear();
    for (; *attributes != nullptr; attributes += 2) {
      reader.attributes.push_back({reader.builder.keepName(localName(attributes[0])),
                                   reader.builder.keepText(attributes[1])});
    }
    reader.builder.setAttributes(reader.attributes);
  });
}

void onEnd(void* user, const XML_Char*) {
  Reader& reader = *static_cast<Reader*>(user);
  reader.guarded([&] { reader.builder.closeElement(); });
}

void onText(void* user, const XML_Char* text, int length) {
  Reader& reader = *static_cast<Reader*>(user);
  reader.guarded([&] { reader.builder.addText({text, static_cast<std::size_t>(length)}); });
}

void onDoctype(void* user, const XML_Char*, const XML_Char*, const XML_Char*, int) {
  static_cast<Reader*>(user)->refuse("a DOCTYPE is not accepted");
}

bool looksLikeUTF16(ByteView text) {
  if (text.size() < 2) return false;
  const bool mark = (text[0] == 0xFE && text[1] == 0xFF) || (text[0] == 0xFF && text[1] == 0xFE);
  return mark || text[0] == 0 || text[1] == 0;
}

XML_Status parseInPieces(XML_Parser parser, ByteView text) {
  for (;;) {
    const std::size_t piece = std::min(text.size(), kLargestPiece);
    const bool last = piece == text.size();
    const XML_Status status = XML_Parse(parser, reinterpret_cast<const char*>(text.data()),
                                        static_cast<int>(piece), last ? XML_TRUE : XML_FALSE);
    if (status != XML_STATUS_OK || last) return status;
    text = text.subspan(piece);
  }
}

}  // namespace

XMLParseResult parseXML(ByteView text, std::string name) {
  if (text.size() > std::numeric_limits<std::uint32_t>::max()) {
    return {nullptr, "the document is larger than 4 GiB", {1, 1, 0}};
  }
  if (looksLikeUTF16(text))
    return {nullptr, "the document is UTF-16; UTF-8 is expected", {1, 1, 0}};

  const std::unique_ptr<XML_ParserStruct, ParserDeleter> parser(
      XML_ParserCreateNS(nullptr, kSeparator));
  if (parser == nullptr) throw std::bad_alloc();
  Reader reader{parser.get(), XMLTreeBuilder(std::move(name)), {}, {}, 0, nullptr};
  XML_SetUserData(parser.get(), &reader);
  XML_SetElementHandler(parser.get(), onStart, onEnd);
  XML_SetCharacterDataHandler(parser.get(), onText);
  XML_SetStartDoctypeDeclHandler(parser.get(), onDoctype);

  const XML_Status status = parseInPieces(parser.get(), text);
  if (reader.exception) std::rethrow_exception(reader.exception);
  reader.builder.setLines(text);
  if (status == XML_STATUS_OK && reader.refusal.empty()) return {reader.builder.take(), {}, {}};
  if (!reader.refusal.empty()) {
    // The parser reports a DOCTYPE from behind its name; the place to look at is its beginning.
    const std::size_t declaration = textOf(text).rfind("<!DOCTYPE", reader.refusedAt);
    const bool isDoctype = text[reader.refusedAt] != '<' && declaration != std::string_view::npos;
    const std::size_t place = isDoctype ? declaration : reader.refusedAt;
    return {nullptr, std::move(reader.refusal), reader.builder.positionOf(place)};
  }
  const XML_Error code = XML_GetErrorCode(parser.get());
  if (code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
  const XML_Index offset = XML_GetErrorByteIndex(parser.get());
  const auto stopped =
      std::min(text.size(), static_cast<std::size_t>(std::max<XML_Index>(offset, 0)));
  return {nullptr, XML_ErrorString(code), reader.builder.positionOf(stopped)};
}

}  // namespace qv
