#include "qvparsersupport/transformers/ip_transformers.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

using F = QVFormatType;

// The text that the value gets, in both directions; the value itself must come back.
std::string checked(const QVTransformer& transformer, const std::string& words) {
  const std::string result = encoded(transformer, valueOf(words));
  EXPECT_EQ(decoded(transformer, valueOf(words)), result);
  EXPECT_EQ(result.substr(0, words.size()), words);
  return result.size() > words.size() ? result.substr(words.size() + 3) : "";
}

// Every value of the list gets the text.
void expectChecked(const QVTransformer& transformer, const char* list, std::string_view text) {
  std::istringstream words(list);
  for (std::string word; words >> word;) {
    EXPECT_EQ(checked(transformer, word), text)
        << static_cast<int>(transformer.format()) << " " << word;
  }
}

TEST(QVIPTransformerTest, FailedCheckStoresATextAndAnswersTheValue) {
  struct Row {
    QVFormatType format;
    const char* passing;
    const char* failing;
    const char* text;
  };
  const Row rows[] = {
      {F::integer, "null c:1", "- '' <> array dict", "Value is not a number."},
      {F::boolean, "null c:1", "- '' <> array dict", "Value is not a number."},
      {F::floatingPoint, "null c:1", "- '' <> array dict", "Value is not a number."},
      {F::string, "''", "- null <> array dict c:1", "Value is not a string."},
      {F::data, "'' <> 'no-base-64!'", "- null array dict c:1",
       "Value is not a base-64 encoded string or a raw data object."},
      {F::array, "array", "- null '' <> dict c:1", "Value is not an array."},
  };
  for (const Row& row : rows) {
    expectChecked(registered(QVTransport::ip, row.format), row.passing, "");
    expectChecked(registered(QVTransport::ip, row.format), row.failing, row.text);
  }
}

TEST(QVIPObjectTransformerTest, EveryValuePasses) {
  expectChecked(registered(QVTransport::ip, F::dictionary), "- null '' <> array dict c:1", "");
}

TEST(QVIPNumberTransformerTest, ChecksTheKindAndNotTheRange) {
  for (std::uint8_t type = 0; type <= 8; ++type) {
    const QVIPNumberTransformer transformer(type);
    const std::string text = type == 6                ? "Number is not a boolean."
                             : type >= 1 && type <= 5 ? "Number is not an integer."
                                                      : "";
    expectChecked(transformer, "c:0 s:1 i:0 q:1 C:0 S:1 I:0 Q:1", "");
    expectChecked(transformer, "f:1 d:0 d:nan", text);
    expectChecked(transformer, "l:1 L:1", type == 0 ? "Number is not a float." : text);
    expectChecked(transformer, "q:256 c:-1 q:2", type == 6 ? "Boolean value out of range" : "");
    expectChecked(transformer, "'9'", "Value is not a number.");
    EXPECT_EQ(transformer.format() == F::none, type > 6);
    EXPECT_EQ(transformer.numberType(), type);
  }
}

}  // namespace
}  // namespace qv::test
