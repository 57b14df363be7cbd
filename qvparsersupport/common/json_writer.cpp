#include "qvparsersupport/common/json_writer.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include "qvparsersupport/common/base64.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/common/value_storage.h"

namespace qv {

namespace {

constexpr std::string_view kHexadecimal = "0123456789abcdef";
constexpr std::string_view kCut = "...";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD
// Values that a host builds may be deeper than any text should lean to the right.
constexpr std::size_t kDeepestIndent = 1024;

bool isPlain(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
}

class Writer {
 public:
  explicit Writer(const JSONStyle& style) : style_(style) {}

  std::string textFor(const ValueNode& root) && {
    write(root);
    while (!open_.empty() && !isFull()) writeNext();
    if (isFull()) cut();
    return std::move(text_);
  }

 private:
  struct Open {
    ValueNode node;
    std::size_t next;
  };

  bool isFull() const { return text_.size() > style_.maximumBytes; }

  void writeNext() {
    Open& open = open_.back();
    const bool isArray = open.node.type == Value::Type::array;
    if (open.next == open.node.size) {
      const bool wasEmpty = open.node.size == 0;
      open_.pop_back();
      if (!wasEmpty) beginLine();
      text_.push_back(isArray ? ']' : '}');
      return;
    }
    if (open.next > 0) text_.push_back(',');
    beginLine();
    const std::size_t index = open.next++;
    if (isArray) return write(ValueBuilder::elements(open.node)[index]);
    const ValueEntryNode& entry = ValueBuilder::entries(open.node)[index];
    writeString(entry.key);
    text_.append(style_.indent > 0 ? ": " : ":");
    write(entry.value);
  }

  void write(const ValueNode& node) {
    switch (node.type) {
      case Value::Type::null:
        text_.append("null");
        return;
      case Value::Type::number:
        return writeNumber(ValueBuilder::numberOf(node));
      case Value::Type::string:
        return writeString(ValueBuilder::text(node));
      case Value::Type::bytes:
        return writeBytes(bytesOf(ValueBuilder::text(node)));
      case Value::Type::array:
      case Value::Type::dictionary:
        text_.push_back(node.type == Value::Type::array ? '[' : '{');
        open_.push_back({node, 0});
        return;
      case Value::Type::object:
        return writeString("object");
    }
  }

  void beginLine() {
    if (style_.indent == 0) return;
    text_.push_back('\n');
    text_.append(style_.indent * std::min(open_.size(), kDeepestIndent), ' ');
  }

  void writeNumber(const Number& number) {
    if (number.isFloatKind()) return writeFloat(number.doubleValue());
    const bool isBoolean =
        number.kind() == NumericKind::signedChar && number.uint64Value() <= 1;  // 0 or 1
    if (isBoolean) {
      text_.append(number.boolValue() ? "true" : "false");
    } else {
      text_.append(number.text());
    }
  }

  void writeFloat(double value) {
    if (std::isnan(value)) return writeString("NaN");
    if (std::isinf(value)) return writeString(value < 0 ? "-Infinity" : "Infinity");
    char digits[32];
    const auto written = std::to_chars(std::begin(digits), std::end(digits), value);
    const std::string_view text(digits, static_cast<std::size_t>(written.ptr - digits));
    text_.append(text);
    if (text.find_first_of(".e") == std::string_view::npos) text_.append(".0");
  }

  void writeString(std::string_view text) {
    text_.push_back('"');
    while (!text.empty() && !isFull()) {
      const auto end = std::find_if_not(text.begin(), text.end(), isPlain);
      auto plain = static_cast<std::size_t>(end - text.begin());
      plain = std::min(plain, style_.maximumBytes - text_.size() + 1);
      text_.append(text, 0, plain);
      text.remove_prefix(plain);
      if (text.empty() || isPlain(text.front())) continue;
      const std::size_t length = utf8SequenceLength(bytesOf(text));
      if (length == 0) {
        text_.append(kReplacement);
      } else if (length == 1) {
        writeEscape(text.front());
      } else {
        text_.append(text, 0, length);
      }
      text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    text_.push_back('"');
  }

  void writeEscape(char c) {
    text_.push_back('\\');
    constexpr std::string_view kControls = "\b\f\n\r\t";
    const std::size_t known = kControls.find(c);
    if (known != std::string_view::npos) {
      text_.push_back("bfnrt"[known]);
    } else if (c == '"' || c == '\\') {
      text_.push_back(c);
    } else {
      const auto byte = static_cast<unsigned char>(c);
      text_.append("u00").append({kHexadecimal[byte >> 4], kHexadecimal[byte & 15]});
    }
  }

  void writeBytes(ByteView bytes) {
    text_.push_back('"');
    constexpr std::size_t kPiece = 3;
    while (!bytes.empty() && !isFull()) {
      const ByteView piece = bytes.first(std::min(kPiece, bytes.size()));
      appendBase64(text_, piece);
      bytes = bytes.subspan(piece.size());
    }
    text_.push_back('"');
  }

  // Leaves room for the mark, and cuts no character.
  void cut() {
    std::size_t end = style_.maximumBytes - std::min(kCut.size(), style_.maximumBytes);
    while (end > 0 && (text_[end] & 0xC0) == 0x80) --end;
    text_.resize(end);
    text_.append(kCut, 0, style_.maximumBytes);
  }

  const JSONStyle& style_;
  std::string text_;
  std::vector<Open> open_;
};

}  // namespace

std::string jsonText(const Value& value, const JSONStyle& style) {
  return Writer(style).textFor(ValueBuilder::node(value));
}

}  // namespace qv
