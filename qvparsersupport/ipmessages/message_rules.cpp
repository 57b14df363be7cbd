#include "qvparsersupport/ipmessages/message_rules.h"

#include <algorithm>
#include <array>
#include <functional>
#include <utility>
#include <vector>

#include "qvparsersupport/ipmessages/message_rule_rows.h"

namespace qv {

namespace {

constexpr std::string_view kPlaceholders[] = {"%@", "%d", "%02x"};

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

// A text with places to fill in, as the words between them.
class Template {
 public:
  Template(std::string_view text, const QVRule& rule) : rule_(&rule) {
    for (std::size_t start = 0, at = 0; at <= text.size();) {
      const std::size_t length = at == text.size() ? 1 : placeholderLength(text.substr(at));
      if (length == 0) {
        ++at;
        continue;
      }
      words_.push_back(text.substr(start, at - start));
      weight_ += words_.back().size();
      at += length;
      start = at;
    }
  }

  const QVRule* rule() const { return rule_; }
  bool hasPlaces() const { return words_.size() > 1; }
  std::string_view firstWords() const { return words_.front(); }
  std::size_t weight() const { return weight_; }

  // The words between the first and the last are taken where they come first, so a text is read
  // once, whatever it is filled with.
  bool fits(std::string_view text) const {
    const std::string_view last = words_.back();
    if (!text.starts_with(words_.front())) return false;
    text.remove_prefix(words_.front().size());
    if (!text.ends_with(last)) return false;
    text.remove_suffix(last.size());
    for (std::size_t i = 1; i + 1 < words_.size(); ++i) {
      const std::size_t place = text.find(words_[i]);
      if (place == std::string_view::npos) return false;
      text.remove_prefix(place + words_[i].size());
    }
    return true;
  }

 private:
  static std::size_t placeholderLength(std::string_view text) {
    for (const std::string_view placeholder : kPlaceholders) {
      if (text.starts_with(placeholder)) return placeholder.size();
    }
    return 0;
  }

  const QVRule* rule_;
  std::vector<std::string_view> words_;
  std::size_t weight_ = 0;  // the length of all words
};

class Catalogue {
 public:
  Catalogue() {
    for (const auto rows : {httpRuleRows(), jsonRuleRows(), profileRuleRows(), valueRuleRows()}) {
      for (const RuleRow& row : rows) {
        textsOfRules_.push_back(linesOf(row.texts));
        rules_.push_back({row.id, textsOfRules_.back(), row.explanation, row.example});
      }
    }
    std::ranges::sort(rules_, {}, &QVRule::id);
    for (const QVRule& rule : rules_) {
      for (const std::string_view text : rule.texts) addText(text, rule);
    }
    std::ranges::sort(fixedTexts_, {}, &FixedText::text);
    for (auto& templates : templates_) {
      std::ranges::sort(templates, std::greater<>(), &Template::weight);
    }
  }

  std::span<const QVRule> rules() const { return rules_; }

  const QVRule* ruleForText(std::string_view text) const {
    const auto fixed = std::ranges::lower_bound(fixedTexts_, text, {}, &FixedText::text);
    if (fixed != fixedTexts_.end() && fixed->text == text) return fixed->rule;
    if (text.empty()) return nullptr;
    for (const Template& each : templates_[static_cast<unsigned char>(text.front())]) {
      if (each.fits(text)) return each.rule();
    }
    return nullptr;
  }

 private:
  struct FixedText {
    std::string_view text;
    const QVRule* rule;
  };

  void addText(std::string_view text, const QVRule& rule) {
    Template parsed(text, rule);
    if (parsed.hasPlaces()) {
      const auto first = static_cast<unsigned char>(parsed.firstWords().front());
      templates_[first].push_back(std::move(parsed));
    } else {
      fixedTexts_.push_back({text, &rule});
    }
  }

  std::vector<std::vector<std::string_view>> textsOfRules_;
  std::vector<QVRule> rules_;
  std::vector<FixedText> fixedTexts_;                 // sorted
  std::array<std::vector<Template>, 256> templates_;  // by first character, most words first
};

const Catalogue& catalogue() {
  static const Catalogue& built = *new Catalogue;
  return built;
}

}  // namespace

std::span<const QVRule> messageRules() {
  return catalogue().rules();
}

const QVRule* ruleWithID(std::string_view id) {
  const auto rules = messageRules();
  const auto place = std::ranges::lower_bound(rules, id, {}, &QVRule::id);
  return place != rules.end() && place->id == id ? &*place : nullptr;
}

const QVRule* ruleForText(std::string_view text) {
  return catalogue().ruleForText(text);
}

}  // namespace qv
