#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <vector>

#include "qvparsersupport/common/xml_tree.h"
#include "tools/qvcheck/near_names.h"
#include "tools/qvcheck/survey_findings.h"

namespace qv::check {

namespace {

enum class Place : std::uint8_t {
  profile,
  enums,
  enumeration,
  values,
  tlv8s,
  structure,
  fields,
  characteristics,
  characteristic,
  characteristicInstance,
  properties,
  services,
  service,
  serviceInstance,
  references,
  // What holds no elements:
  definition,
  type,
  format,
  limit,
  unit,
};

// The element that is read in a place, and the place that it is itself.
struct ReadElement {
  Place in;
  std::string_view name;
  Place is;
};

constexpr ReadElement kElements[] = {
    {Place::profile, "enums", Place::enums},
    {Place::profile, "tlv8s", Place::tlv8s},
    {Place::profile, "characteristics", Place::characteristics},
    {Place::profile, "services", Place::services},
    {Place::enums, "enum", Place::enumeration},
    {Place::enumeration, "values", Place::values},
    {Place::values, "value", Place::definition},
    {Place::tlv8s, "tlv8", Place::structure},
    {Place::structure, "fields", Place::fields},
    {Place::fields, "field", Place::definition},
    {Place::characteristics, "characteristic", Place::characteristic},
    {Place::characteristic, "type", Place::type},
    {Place::characteristic, "format", Place::format},
    {Place::characteristic, "minValue", Place::limit},
    {Place::characteristic, "maxValue", Place::limit},
    {Place::characteristic, "step", Place::limit},
    {Place::characteristic, "unit", Place::unit},
    {Place::characteristic, "properties", Place::properties},
    {Place::characteristic, "ip", Place::characteristicInstance},
    {Place::characteristic, "btle", Place::characteristicInstance},
    {Place::characteristicInstance, "type", Place::type},
    {Place::characteristicInstance, "format", Place::format},
    {Place::characteristicInstance, "minValue", Place::limit},
    {Place::characteristicInstance, "maxValue", Place::limit},
    {Place::characteristicInstance, "step", Place::limit},
    {Place::characteristicInstance, "unit", Place::unit},
    {Place::characteristicInstance, "properties", Place::properties},
    {Place::properties, "property", Place::definition},
    {Place::services, "service", Place::service},
    {Place::service, "type", Place::type},
    {Place::service, "required", Place::references},
    {Place::service, "optional", Place::references},
    {Place::service, "ip", Place::serviceInstance},
    {Place::service, "btle", Place::serviceInstance},
    {Place::serviceInstance, "type", Place::type},
    {Place::serviceInstance, "required", Place::references},
    {Place::serviceInstance, "optional", Place::references},
    {Place::references, "characteristic", Place::definition},
};

struct ReadAttribute {
  Place of;
  std::string_view name;
};

constexpr ReadAttribute kAttributes[] = {
    {Place::type, "uti"},    {Place::type, "uuid"},   {Place::format, "name"},
    {Place::format, "enum"}, {Place::format, "tlv8"}, {Place::format, "maximumLength"},
    {Place::limit, "value"}, {Place::unit, "name"},
};

// The library refuses attributes that a definition does not know. The root may have any.
bool isJudgedElsewhere(Place place, std::string_view attribute) {
  switch (place) {
    case Place::profile:
    case Place::definition:
    case Place::enumeration:
    case Place::structure:
    case Place::characteristic:
    case Place::service:
      return true;
    case Place::characteristicInstance:
    case Place::serviceInstance:
      // Accepted, because the parent has it, but not read.
      return attribute != "name";
    default:
      return false;
  }
}

// The elements that an element of that name is read in.
std::vector<std::string> placesOf(std::string_view name) {
  std::vector<std::string> places;
  for (const ReadElement& each : kElements) {
    if (each.name != name) continue;
    if (each.in == Place::profile) places.emplace_back("the root");
    for (const ReadElement& holder : kElements) {
      if (holder.is == each.in && std::ranges::find(places, holder.name) == places.end()) {
        places.emplace_back(holder.name);
      }
    }
  }
  return places;
}

std::string hintFor(std::string_view name, Place place) {
  std::vector<std::string> known;
  for (const ReadElement& each : kElements) {
    if (each.in == place) known.emplace_back(each.name);
  }
  std::string hint = didYouMean(nearNames(name, known));
  if (!hint.empty()) return hint;
  for (const std::string& each : placesOf(name)) {
    fmt::format_to(std::back_inserter(hint), "{}{}", hint.empty() ? "it is read in " : ", ", each);
  }
  return hint;
}

void checkAttributes(const XMLElement& element, Place place, SurveyFindings& findings) {
  std::vector<std::string> known;
  for (const ReadAttribute& each : kAttributes) {
    if (each.of == place) known.emplace_back(each.name);
  }
  for (const XMLAttribute& attribute : element.attributes()) {
    if (isJudgedElsewhere(place, attribute.name)) continue;
    if (std::ranges::find(known, attribute.name) != known.end()) continue;
    findings.add(
        &element, Severity::warning, "profile.unread-attribute",
        fmt::format("Nothing reads the attribute '{}' of '{}'", attribute.name, element.name()),
        didYouMean(nearNames(attribute.name, known)));
  }
}

}  // namespace

void addUnread(const XMLDocument& document, SurveyFindings& findings) {
  struct Visit {
    const XMLElement* element;
    Place place;
  };
  std::vector<Visit> left = {{document.rootElement().get(), Place::profile}};
  while (!left.empty()) {
    const Visit visit = left.back();
    left.pop_back();
    checkAttributes(*visit.element, visit.place, findings);
    for (const XMLNode* node = visit.element->firstChild(); node != nullptr;
         node = node->nextSibling()) {
      const XMLElement* const child = node->asElement();
      if (child == nullptr) continue;
      const auto known = std::ranges::find_if(kElements, [&](const ReadElement& each) {
        return each.in == visit.place && each.name == child->name();
      });
      if (known != std::end(kElements)) {
        left.push_back({child, known->is});
      } else {
        findings.add(
            child, Severity::warning, "profile.unread-element",
            fmt::format("Nothing reads '{}' in '{}'", child->name(), visit.element->name()),
            hintFor(child->name(), visit.place));
      }
    }
  }
}

}  // namespace qv::check
