#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/xml_tree.h"

namespace qv {

struct XMLParseResult {
  std::shared_ptr<const XMLDocument> document;  // null when the text was refused
  std::string error;                            // why, without the place; empty with a document
  XMLPosition position;                         // where the reader stopped
};

// Elements nested deeper than this are refused.
inline constexpr std::size_t kXMLDepthLimit = 256;

// Reads one XML 1.0 document with namespaces into an element tree. Refused, with a text and a
// place: what is not well-formed, a DOCTYPE (nothing named in a document is ever opened or
// expanded), nesting beyond `kXMLDepthLimit`, UTF-16, more than 4 GiB. `name` is what messages call
// the document; a file's path, usually. The bytes are not needed afterwards.
QV_EXPORT XMLParseResult parseXML(ByteView text, std::string name);

}  // namespace qv
