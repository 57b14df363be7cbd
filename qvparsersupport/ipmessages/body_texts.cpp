#include "qvparsersupport/ipmessages/body_texts.h"

#include <fmt/format.h>

#include <algorithm>

namespace qv {

std::string bodySizeText(const Bytes& body) {
  return fmt::format("a body of {} byte{}", body.size(), body.size() == 1 ? "" : "s");
}

ByteRange syntaxErrorRange(const JSONParseResult& parsed, const Bytes& body) {
  const std::size_t offset = std::min(parsed.errorOffset, body.size());
  return {offset, offset < body.size() ? 1U : 0U};
}

}  // namespace qv
