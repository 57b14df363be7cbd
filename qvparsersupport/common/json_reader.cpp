#include "qvparsersupport/common/json_reader.h"

#include <fmt/format.h>

#include <algorithm>
#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/src.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/common/value_storage.h"

namespace qv {

namespace {

namespace bj = boost::json;

// Receives the parser's events and builds nodes in one arena. The text itself stands in the arena
// too, so keys and strings without escapes need no copy of their own. Finished values wait on a
// stack; the end of an array or object moves its part of the stack into the arena. Keys wait beside
// it.
class TreeHandler {
 public:
  static constexpr std::size_t max_object_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_array_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_key_size = static_cast<std::size_t>(-1);
  static constexpr std::size_t max_string_size = static_cast<std::size_t>(-1);

  TreeHandler(std::string_view text, std::size_t maximumValues)
      : storage_(ValueStorage::make()),
        text_(storage_->copyText(text)),
        maximumValues_(maximumValues) {
    // Room for a usual message, so that its stacks cost one allocation each.
    constexpr std::size_t kFew = 32;
    values_.reserve(kFew);
    keys_.reserve(kFew);
  }

  // The text in the arena: what is to be parsed.
  std::string_view text() const { return text_; }
  Value take() { return ValueBuilder::adopt(values_.back(), std::move(storage_)); }
  bool hasRepeatedKeys() const { return hasRepeatedKeys_; }
  bool tookTooManyValues() const { return valueCount_ > maximumValues_; }

  bool on_document_begin(bj::error_code&) { return true; }
  bool on_document_end(bj::error_code&) { return true; }
  bool on_object_begin(bj::error_code&) { return true; }
  bool on_array_begin(bj::error_code&) { return true; }

  bool on_object_end(std::size_t count, bj::error_code& error) {
    std::size_t size = 0;
    const ValueEntryNode* copy =
        storage_->copyEntries(std::span(keys_).last(count), std::span(values_).last(count), size);
    hasRepeatedKeys_ = hasRepeatedKeys_ || size < count;
    keys_.resize(keys_.size() - count);
    values_.resize(values_.size() - count);
    return push(ValueBuilder::nodeOf(Value::Type::dictionary, copy, size), error);
  }

  bool on_array_end(std::size_t count, bj::error_code& error) {
    const ValueNode* copy = storage_->copyNodes(std::span(values_).last(count));
    values_.resize(values_.size() - count);
    return push(ValueBuilder::nodeOf(Value::Type::array, copy, count), error);
  }

  bool on_key_part(bj::string_view part, std::size_t, bj::error_code&) { return appendPart(part); }
  bool on_key(bj::string_view part, std::size_t, bj::error_code&) {
    keys_.push_back(finishText(part));
    return true;
  }
  bool on_string_part(bj::string_view part, std::size_t, bj::error_code&) {
    return appendPart(part);
  }
  bool on_string(bj::string_view part, std::size_t, bj::error_code& error) {
    const std::string_view text = finishText(part);
    return push(ValueBuilder::nodeOf(Value::Type::string, text.data(), text.size()), error);
  }

  bool on_number_part(bj::string_view part, bj::error_code&) { return appendPart(part); }
  bool on_int64(std::int64_t value, bj::string_view, bj::error_code& error) {
    return pushNumber(Number::int64(value), error);
  }
  bool on_uint64(std::uint64_t value, bj::string_view, bj::error_code& error) {
    return pushNumber(Number::uint64(value), error);
  }
  // The parser's own doubles are not always correctly rounded, so the text is read again.
  bool on_double(double, bj::string_view part, bj::error_code& error) {
    pending_.append(part.data(), part.size());
    double value = 0;
    const char* end = pending_.data() + pending_.size();
    const auto result = std::from_chars(pending_.data(), end, value);
    if (result.ec == std::errc::result_out_of_range) {
      const bool negative = pending_.front() == '-';
      if (!decimalIsBelowOne(std::string_view(pending_).substr(negative ? 1 : 0))) {
        error = bj::error::exponent_overflow;
        return false;
      }
      value = negative ? -0.0 : 0.0;
    }
    return pushNumber(Number::float64(value), error);
  }
  bool on_bool(bool value, bj::error_code& error) {
    return pushNumber(Number::boolean(value), error);
  }
  bool on_null(bj::error_code& error) { return push(ValueNode(), error); }
  bool on_comment_part(bj::string_view, bj::error_code&) { return true; }
  bool on_comment(bj::string_view, bj::error_code&) { return true; }

 private:
  bool appendPart(bj::string_view part) {
    pending_.append(part.data(), part.size());
    return true;
  }

  bool isInText(const char* place) const {
    return !std::less<>()(place, text_.data()) && std::less<>()(place, text_.data() + text_.size());
  }

  std::string_view finishText(bj::string_view part) {
    if (pending_.empty() && isInText(part.data())) return {part.data(), part.size()};
    pending_.append(part.data(), part.size());
    const std::string_view text = storage_->copyText(pending_);
    pending_.clear();
    return text;
  }

  bool pushNumber(Number number, bj::error_code& error) {
    pending_.clear();
    return push(ValueBuilder::nodeOf(number), error);
  }

  bool push(const ValueNode& node, bj::error_code& error) {
    values_.push_back(node);
    if (++valueCount_ <= maximumValues_) return true;
    error = bj::error::array_too_large;  // its text is not shown
    return false;
  }

  ValueStorage::Owner storage_;
  std::string_view text_;
  std::vector<ValueNode> values_;
  std::vector<std::string_view> keys_;
  std::string pending_;
  std::size_t maximumValues_;
  std::size_t valueCount_ = 0;
  bool hasRepeatedKeys_ = false;
};

}  // namespace

JSONParseResult parseJSON(ByteView text, const JSONLimits& limits) {
  if (text.size() > limits.maximumBytes) {
    JSONParseResult refused;
    refused.error =
        fmt::format("{} bytes are more than the limit of {}", text.size(), limits.maximumBytes);
    return refused;
  }
  bj::parse_options options;
  options.max_depth = std::min(limits.maximumDepth, JSONLimits::kMaximumDepth);
  bj::basic_parser<TreeHandler> parser(options, textOf(text), limits.maximumValues);
  bj::error_code error;
  const std::string_view kept = parser.handler().text();
  const std::size_t consumed = parser.write_some(false, kept.data(), kept.size(), error);
  JSONParseResult result;
  if (!error && consumed < text.size()) error = bj::error::extra_data;
  if (!error && !parser.done()) error = bj::error::incomplete;
  if (error) {
    result.errorOffset = consumed;
    result.error = parser.handler().tookTooManyValues()
                       ? fmt::format("more values than the limit of {}", limits.maximumValues)
                       : error.message();
    result.error += fmt::format(" at byte {}", consumed);
    return result;
  }
  result.hasRepeatedKeys = parser.handler().hasRepeatedKeys();
  result.value = parser.handler().take();
  return result;
}

}  // namespace qv
