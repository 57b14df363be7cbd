// The catalogue of rules, held against the texts and rule ids that stand in the sources.

#include <gtest/gtest.h>

#include <cctype>
#include <filesystem>
#include <map>
#include <set>

#include "tests/qvcheck/run_tool.h"
#include "tests/support/expectations.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::test {
namespace {

using check::anyRuleWithID;
using check::toolRules;

// Literals that look like texts of a message and are none.
const std::set<std::string> kNoTexts = {
    "Details: TLV8 transformer missing for field '%'",
    "Details: Transport %, Format %",
    "Failed to load symbol table with reason: %",
    "Nimbus Relay",
    "QVParserSupport: two threads validate JSON bodies at the same time\\n",
    "UTF-8 text without null characters",
};

struct Literal {
  std::string before;  // the statement up to it, without white space
  std::string text;    // adjacent literals are one
};

std::vector<Literal> literalsIn(const std::string& code) {
  std::vector<Literal> literals;
  std::string before;
  for (std::size_t i = 0; i < code.size(); ++i) {
    const bool lineStarts = i == 0 || code[i - 1] == '\n';
    if (code.compare(i, 2, "//") == 0 || (code[i] == '#' && lineStarts)) {
      i = code.find('\n', i) - 1;
    } else if (code[i] == '\'' && std::isalnum(static_cast<unsigned char>(code[i - 1])) == 0) {
      while (code[++i] != '\'') i += code[i] == '\\' ? 1 : 0;
    } else if (code[i] == '"') {
      if (!before.ends_with('"')) literals.push_back({before, ""});
      while (code[++i] != '"') {
        if (code[i] == '\\' && code[i + 1] == '"') ++i;
        literals.back().text += code[i];
      }
      if (!before.ends_with('"')) before += '"';
    } else if (code[i] == ';' || code[i] == '{' || code[i] == '}') {
      before = code[i];
    } else if (std::isspace(static_cast<unsigned char>(code[i])) == 0) {
      before += code[i];
    }
  }
  return literals;
}

std::vector<Literal> literalsUnder(const std::string& folder) {
  std::vector<Literal> all;
  for (const auto& entry :
       std::filesystem::recursive_directory_iterator(std::string(QV_SOURCE_DIR "/") + folder)) {
    const std::string name = entry.path().filename().string();
    if (!entry.is_regular_file() || name.starts_with("message_rule")) continue;
    if (!name.ends_with(".cpp") && !name.ends_with(".h")) continue;
    for (Literal& literal : literalsIn(contentOf(entry.path()))) all.push_back(std::move(literal));
  }
  return all;
}

// With every place to fill in as "%".
std::string withPlaces(std::string text) {
  for (const char* place : {"%02x", "%@", "%d"}) text = replaced(text, place, "%");
  for (std::size_t at = 0; (at = text.find('{', at)) != std::string::npos;) {
    text.replace(at, text.find('}', at) + 1 - at, "%");
  }
  return text;
}

// A sentence, or whatever is handed to a call that fails.
bool isText(const Literal& literal) {
  std::string before = literal.before;
  if (before.ends_with("fmt::format(")) before.resize(before.size() - 12);
  if (before.ends_with(',')) before.resize(before.rfind('(') + 1);
  const bool fails = before.ends_with("fail(") || before.ends_with("raise(") ||
                     before.ends_with("raiseLoadAssertion(");
  const bool isSentence = std::isupper(static_cast<unsigned char>(literal.text[0])) != 0 &&
                          literal.text.find(' ') != std::string::npos;
  return (fails || isSentence) && !kNoTexts.contains(withPlaces(literal.text));
}

TEST(Rules, everyTextOfTheLibraryBelongsToOneRule) {
  std::map<std::string, std::string_view> rules;
  for (const QVRule& rule : messageRules()) {
    for (const std::string_view text : rule.texts) {
      EXPECT_TRUE(rules.emplace(withPlaces(std::string(text)), rule.id).second) << text;
    }
  }
  std::set<std::string> written;
  for (const Literal& literal : literalsUnder("qvparsersupport")) {
    if (isText(literal)) written.insert(withPlaces(literal.text));
  }
  for (const std::string& text : written) EXPECT_TRUE(rules.contains(text)) << text;

  // Made from two texts of the sources, or from one that is filled in.
  const std::string field = "Field 0x% is invalid: ";
  written.insert(
      {"Key 'characteristics' is absent", "Value for key 'characteristics' is not an array"});
  for (const auto& [text, rule] : rules) {
    const bool made = text.starts_with(field) && written.contains(text.substr(field.size()));
    EXPECT_TRUE(made || written.contains(text)) << text << " is written nowhere";
  }
}

TEST(Rules, everyRuleInTheSourcesExists) {
  std::set<std::string> areas;
  for (const QVRule& rule : messageRules())
    areas.insert(std::string(rule.id.substr(0, rule.id.find('.'))));
  for (const QVRule& rule : toolRules())
    areas.insert(std::string(rule.id.substr(0, rule.id.find('.'))));
  EXPECT_EQ(areas, (std::set<std::string>{"class", "http", "input", "json", "message", "profile",
                                          "tlv8", "value"}));
  std::size_t found = 0;
  for (const char* folder : {"qvparsersupport", "tools"}) {
    for (const Literal& literal : literalsUnder(folder)) {
      const std::size_t dot = literal.text.find('.');
      if (dot == std::string::npos || literal.text.find(' ') != std::string::npos) continue;
      if (!areas.contains(literal.text.substr(0, dot))) continue;
      EXPECT_NE(anyRuleWithID(literal.text), nullptr) << literal.text;
      ++found;
    }
  }
  EXPECT_GT(found, toolRules().size());
}

TEST(Rules, areWellFormed) {
  const auto check = [](std::span<const QVRule> rules) {
    std::string_view before;
    for (const QVRule& rule : rules) {
      EXPECT_LT(before, rule.id);
      before = rule.id;
      EXPECT_EQ(rule.id.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789.-"),
                std::string_view::npos)
          << rule.id;
      const std::size_t sentence = rule.explanation.find(". ");
      EXPECT_TRUE(sentence < 76 && rule.explanation.ends_with('.')) << rule.id;
      EXPECT_FALSE(rule.example.empty() || rule.example.ends_with('\n')) << rule.id;
    }
  };
  check(messageRules());
  check(toolRules());
  for (const QVRule& rule : messageRules()) {
    EXPECT_EQ(rule.texts.empty(), rule.id == "message.host") << rule.id;
    EXPECT_EQ(ruleWithID(rule.id), &rule);
  }
  for (const QVRule& rule : toolRules()) EXPECT_EQ(ruleWithID(rule.id), nullptr) << rule.id;
}

TEST(Rules, everyTextIsFoundWhateverItIsFilledWith) {
  for (const QVRule& rule : messageRules()) {
    for (const std::string_view text : rule.texts) {
      for (const char* filling : {"", "7", "a b", "'", "is not unique", "<a b=\"\"/>\xC3\xA9\n"}) {
        const std::string filled = replaced(withPlaces(std::string(text)), "%", filling);
        const QVRule* found = ruleForText(filled);
        ASSERT_NE(found, nullptr) << filled;
        EXPECT_EQ(found->id, rule.id) << filled;
      }
    }
  }
  for (const char* other :
       {"", " ", "HTTP", "Value is not a number", "Value is not a number. ", "Invalid length 7",
        "Invalid length for uint8", "TLV8 name '' is not unique!"}) {
    EXPECT_EQ(ruleForText(other), nullptr) << other;
  }
}

// A text can only suit two texts of rules when they begin and end alike; then one of them must be
// a case of the other, and counts.
TEST(Rules, noTextIsAmbiguous) {
  const auto alike = [](std::string_view a, std::string_view b) {
    return a.starts_with(b) || b.starts_with(a);
  };
  std::vector<std::pair<std::string, std::string_view>> texts;
  for (const QVRule& rule : messageRules()) {
    for (const std::string_view text : rule.texts)
      texts.emplace_back(withPlaces(std::string(text)), rule.id);
  }
  for (const auto& [a, ruleOfA] : texts) {
    for (const auto& [b, ruleOfB] : texts) {
      if (ruleOfA == ruleOfB || a.find('%') == std::string::npos ||
          b.find('%') == std::string::npos)
        continue;
      const bool beginAlike = alike(a.substr(0, a.find('%')), b.substr(0, b.find('%')));
      const std::string endOfA(
          a.rbegin(), a.rbegin() + static_cast<std::ptrdiff_t>(a.size() - 1 - a.rfind('%')));
      const std::string endOfB(
          b.rbegin(), b.rbegin() + static_cast<std::ptrdiff_t>(b.size() - 1 - b.rfind('%')));
      if (!beginAlike || !alike(endOfA, endOfB)) continue;
      const std::string& general = a.size() < b.size() ? a : b;
      EXPECT_EQ(general, "Field 0x% is invalid: %") << a << " and " << b;
    }
  }
}

TEST(Rules, aCaseOfATextCounts) {
  struct Row {
    const char* text;
    const char* rule;
  } const rows[] = {
      {"Field 0x01 is invalid: Value does not conform to allowed values", "tlv8.field-enum"},
      {"Field 0x01 is invalid: Value does not conform to allowed values.", "tlv8.field-value"},
      {"Field 0x01 is invalid: (null)", "tlv8.field-value"},
      {"Key 'characteristics' is absent", "json.207-characteristics"},
      {"Key 'status' is absent", "json.status"},
      {"HTTP code 204 indicates no content, but this message has content.", "http.204-body"},
      {"HTTP code 204", "http.status-code"},
      {"Too many bytes provided in value for type 0xff", "tlv8.item-length"},
  };
  for (const Row& row : rows) EXPECT_EQ(ruleForText(row.text)->id, row.rule) << row.text;
}

TEST(Rules, areListedAndExplained) {
  const Outcome list = runTool({"rules"});
  EXPECT_EQ(list.exit, 0);
  EXPECT_EQ(static_cast<std::size_t>(std::count(list.out.begin(), list.out.end(), '\n')),
            1 + messageRules().size() + toolRules().size());
  expectAnswers("command-line/explanations.txt", [&](const Case& input) {
    const std::size_t blank = input[0].find(' ');
    return runTool({input[0].substr(0, blank), input[0].substr(blank + 1)}).out;
  });
}

}  // namespace
}  // namespace qv::test
