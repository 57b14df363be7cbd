#include "tools/qvcheck/survey_findings.h"

#include <algorithm>
#include <map>

#include "qvparsersupport/common/utf8.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

std::string markupToShow(const XMLElement& element) {
  constexpr std::size_t kMostShown = 1024;
  std::string markup = element.markup();
  if (markup.size() <= kMostShown) return markup;
  std::size_t end = kMostShown;
  while ((static_cast<unsigned char>(markup[end]) & 0xC0) == 0x80) --end;  // within a character
  markup.resize(end);
  return markup;
}

void SurveyFindings::error(const XMLElement* element, const std::string& reason) {
  if (!seen_.emplace(element, reason).second) return;
  Finding finding;
  finding.rule = ruleOfRefusal(reason);
  finding.text = reason;
  findings_.emplace_back(element, std::move(finding));
}

void SurveyFindings::add(const XMLElement* element, Severity severity, const char* rule,
                         const std::string& text, const std::string& hint) {
  if (!seen_.emplace(element, text).second) return;
  Finding finding;
  finding.rule = rule;
  finding.hint = hint;
  finding.severity = severity;
  finding.fromTool = true;
  finding.text = text;
  findings_.emplace_back(element, std::move(finding));
}

std::vector<Finding> SurveyFindings::take(
    const std::vector<std::shared_ptr<const XMLDocument>>& documents) {
  std::map<const XMLDocument*, std::size_t> order;
  for (const auto& document : documents) order.emplace(document.get(), order.size());
  const auto place = [&](const std::pair<const XMLElement*, Finding>& entry) {
    const XMLElement* const element = entry.first;
    return element == nullptr ? std::pair(order.size(), std::size_t{0})
                              : std::pair(order[&element->document()], element->byteOffset());
  };
  std::stable_sort(findings_.begin(), findings_.end(),
                   [&](const auto& left, const auto& right) { return place(left) < place(right); });
  std::vector<Finding> result;
  const XMLElement* shown = nullptr;  // one element can have very many findings
  std::string markup;
  for (auto& [element, finding] : findings_) {
    if (element != nullptr) {
      if (element != shown) markup = markupToShow(*element);
      shown = element;
      const XMLPosition position = element->position();
      finding.location.name = element->document().name();
      finding.location.line = position.line;
      finding.location.column = position.column;
      finding.location.byteOffset = position.byteOffset;
      finding.markup = markup;
    }
    result.push_back(std::move(finding));
  }
  return result;
}

template <class Definition>
std::set<std::string> keysOf(const Definition& parent) {
  std::set<std::string> keys;
  for (const auto& instance : {parent.ip(), parent.btle()}) {
    if (instance == nullptr) continue;
    if (const auto uti = instance->uti()) keys.insert(*uti);
    if (const auto uuid = instance->uuid()) keys.insert(*uuid);
    if (const auto name = instance->name()) keys.insert(lowercased(*name));
  }
  return keys;
}

template std::set<std::string> keysOf(const QVCharacteristicXMLObject& parent);
template std::set<std::string> keysOf(const QVServiceXMLObject& parent);

}  // namespace qv::check
