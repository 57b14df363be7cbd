#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/common/bytes.h"
#include "qvparsersupport/common/export.h"

namespace qv {

// The header fields of one message in the order in which they stand, each a name and a value, with
// where they stood. One owned copy of the header text serves all of them.
class QV_EXPORT QVHTTPHeaderFields {
 public:
  struct Field {
    std::string_view name;   // as it stands, not trimmed
    std::string_view value;  // folds kept verbatim, line breaks included
  };

  std::size_t size() const { return fields_.size(); }
  bool empty() const { return fields_.empty(); }
  // Views into the owned text, valid as long as this list or a copy of it.
  Field operator[](std::size_t index) const;
  // Where a field stood in the header: from its name to the end of its value.
  ByteRange rangeOf(std::size_t index) const;
  // Of the value alone.
  ByteRange valueRangeOf(std::size_t index) const;

  // A list made by hand; ranges then count from its own text.
  static QVHTTPHeaderFields fromPairs(
      const std::vector<std::pair<std::string, std::string>>& pairs);

 private:
  friend class QVHTTPMessage;
  struct Place {
    std::size_t name;
    std::size_t nameLength;
    std::size_t value;
    std::size_t valueLength;
  };
  std::shared_ptr<const char[]> text_;
  std::vector<Place> fields_;
};

// One captured HTTP/1.1 message after it was split into header block and body. It does not know
// whether it is a request or a response and never reports an error: what cannot be read stays null.
class QV_EXPORT QVHTTPMessage {
 public:
  // `header` holds the start line and the field lines, each with its line end, without the blank
  // line that ends them; both buffers are copied.
  static std::shared_ptr<QVHTTPMessage> initWithHeader(ByteView header,
                                                       std::optional<ByteView> body);

  // The fields of a header block; null when it holds a byte above 127. Linear in its bytes; takes
  // one copy of the block and 32 bytes for each field.
  // Deliberate: the header is read as it stands. A fold keeps its line break and blanks, a blank
  // line ends nothing, a last line without a line end is dropped, and a start line that holds a
  // colon counts as a field.
  static std::optional<QVHTTPHeaderFields> _parseHTTPHeader(ByteView header);

  // The value of the first field with exactly that name.
  // Deliberate: the letter case counts, although field names are case-insensitive (RFC 9110,
  // section 5.1); the check is meant to be this strict.
  std::optional<std::string> headerValueForKey(std::string_view key) const;
  std::optional<std::string> contentType() const;
  // The same without a copy: valid until the fields are set anew.
  std::optional<std::string_view> headerValueViewForKey(std::string_view key) const;

  const std::optional<std::string>& requestMethod() const { return headerLineItem0_; }
  const std::optional<std::string>& requestURL() const { return headerLineItem1_; }
  const std::optional<std::string>& requestHTTPVersion() const { return headerLineItem2_; }
  const std::optional<std::string>& responseHTTPVersion() const { return headerLineItem0_; }
  const std::optional<std::string>& responseCode() const { return headerLineItem1_; }
  const std::optional<std::string>& responseCodeName() const { return headerLineItem2_; }

  const std::optional<QVHTTPHeaderFields>& headerFields() const { return headerFields_; }
  const std::optional<Bytes>& body() const { return body_; }
  const std::optional<std::string>& headerLineItem0() const { return headerLineItem0_; }
  const std::optional<std::string>& headerLineItem1() const { return headerLineItem1_; }
  const std::optional<std::string>& headerLineItem2() const { return headerLineItem2_; }
  void setHeaderFields(std::optional<QVHTTPHeaderFields> fields) {
    headerFields_ = std::move(fields);
  }
  void setBody(std::optional<Bytes> body) { body_ = std::move(body); }
  void setHeaderLineItem0(std::optional<std::string> item) { headerLineItem0_ = std::move(item); }
  void setHeaderLineItem1(std::optional<std::string> item) { headerLineItem1_ = std::move(item); }
  void setHeaderLineItem2(std::optional<std::string> item) { headerLineItem2_ = std::move(item); }

  // Where things stood in the header that was handed in, for messages about it: the first line
  // without its end, its second item (null when the line has none), and the value of the first
  // field with that name (null when there is none). The setters above do not move them.
  ByteRange startLineRange() const { return startLineRange_; }
  std::optional<ByteRange> headerLineItem1Range() const { return item1Range_; }
  std::optional<ByteRange> valueRangeForKey(std::string_view key) const;

 private:
  std::optional<QVHTTPHeaderFields> headerFields_;
  std::optional<Bytes> body_;
  std::optional<std::string> headerLineItem0_;
  std::optional<std::string> headerLineItem1_;
  std::optional<std::string> headerLineItem2_;
  ByteRange startLineRange_;
  std::optional<ByteRange> item1Range_;
};

}  // namespace qv
