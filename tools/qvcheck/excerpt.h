#pragma once

#include <optional>
#include <string>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// What to show of a header for the marked range: the line that holds it, cut down around the mark
// when it is long. `origin` is where the header stands in the input.
Excerpt headerExcerpt(ByteView header, ByteRange mark, std::size_t origin);

// What to show of a body: up to three rows from the mark on, as text when all of it is printable.
// `origin` is where the marked byte stands in the input.
Excerpt bodyExcerpt(ByteView body, ByteRange mark, std::size_t origin);

// What to show of a body that is text: the line in which the mark begins, cut down around it, or
// rows of bytes where little of it is readable. Looks at the bytes near the mark alone. The offset
// of the excerpt counts from the start of the body.
Excerpt textBodyExcerpt(ByteView body, ByteRange mark);

constexpr std::size_t kBytesInRow = 16;
// At most that many bytes in hexadecimal, padded, and beside them as text.
std::string hexRow(ByteView row);

// The lines that a person sees for it: bytes and, below each row that has marked ones, carets.
std::vector<std::string> renderedLines(const Excerpt& excerpt);

}  // namespace qv::check
