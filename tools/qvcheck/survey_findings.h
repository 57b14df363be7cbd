#pragma once

// Internal to the survey of profiles.

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "qvparsersupport/symbols/symbol_table.h"
#include "tools/qvcheck/report.h"

namespace qv::check {

// The findings of a survey, none of them twice.
class SurveyFindings {
 public:
  // What the library says about an element.
  void error(const XMLElement* element, const std::string& reason);
  // What the tool says.
  void add(const XMLElement* element, Severity severity, const char* rule, const std::string& text,
           const std::string& hint = "");

  bool hasError(const XMLElement* element, const std::string& reason) const {
    return seen_.contains({element, reason});
  }
  // In the order of the documents.
  std::vector<Finding> take(const std::vector<std::shared_ptr<const XMLDocument>>& documents);

 private:
  std::set<std::pair<const XMLElement*, std::string>> seen_;
  std::vector<std::pair<const XMLElement*, Finding>> findings_;
};

// As much of the element as anybody shows.
std::string markupToShow(const XMLElement& element);

// The definitions of one document that could be built.
struct SurveyedDocument {
  const XMLDocument* document = nullptr;
  std::vector<std::shared_ptr<QVEnumXMLObject>> enums;
  std::vector<std::shared_ptr<QVTLV8XMLObject>> tlv8s;
  std::vector<std::shared_ptr<QVCharacteristicXMLObject>> characteristics;
  std::vector<std::shared_ptr<QVServiceXMLObject>> services;
};

// Elements and attributes that nothing reads.
void addUnread(const XMLDocument& document, SurveyFindings& findings);

// What looks wrong about definitions that the loader accepts.
void addWarnings(const std::vector<SurveyedDocument>& documents, SurveyFindings& findings);

// The keys by which a parent is found: UTI, UUID and lower-case name of each instance.
template <class Definition>
std::set<std::string> keysOf(const Definition& parent);

}  // namespace qv::check
