#include <fmt/format.h>

#include <cstdint>
#include <limits>
#include <map>

#include "qvparsersupport/common/text_readings.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/profile_index.h"
#include "tools/qvcheck/survey_findings.h"

namespace qv::check {

namespace {

std::string nameOf(QVFormatType format) {
  return std::string(QVFormatStrings::stringForFormatType(format).value_or("no format"));
}

std::string textOf(const std::optional<std::string>& name) {
  return name.value_or("");
}

// The bits of an integer format; 0 for every other.
unsigned bitsOf(QVFormatType format) {
  switch (format) {
    case QVFormatType::uint8:
      return 8;
    case QVFormatType::uint16:
      return 16;
    case QVFormatType::uint32:
      return 32;
    case QVFormatType::uint64:
    case QVFormatType::integer:
      return 64;
    default:
      return 0;
  }
}

// True for text that the library reads as just what it says, up to a plus sign and leading zeros.
bool isWhollyRead(std::string_view text, QVFormatType format) {
  const bool negative = text.starts_with('-');
  if (negative || text.starts_with('+')) text.remove_prefix(1);
  if (format == QVFormatType::floatingPoint) {
    const std::size_t exponent = text.find_first_of("eE");
    std::string_view power = exponent == text.npos ? "0" : text.substr(exponent + 1);
    if (power.starts_with('-') || power.starts_with('+')) power.remove_prefix(1);
    std::string digits(text.substr(0, exponent));
    if (const std::size_t point = digits.find('.'); point != digits.npos) digits.erase(point, 1);
    return !digits.empty() && !power.empty() && holdsOnlyDecimalDigits(digits) &&
           holdsOnlyDecimalDigits(power);
  }
  if (text.empty()) return false;
  while (text.size() > 1 && text.front() == '0') text.remove_prefix(1);
  const std::string written = (negative && text != "0" ? "-" : "") + std::string(text);
  return Number::int64(integerReading(written)).text() == written;
}

bool fits(std::int64_t value, QVFormatType format) {
  const unsigned bits = bitsOf(format);
  if (format == QVFormatType::integer || bits == 0) return true;
  return value >= 0 && (bits == 64 || value < (std::int64_t{1} << bits));
}

class Warnings {
 public:
  Warnings(const std::vector<SurveyedDocument>& documents, SurveyFindings& findings)
      : documents_(documents), findings_(findings) {}

  void run() {
    for (std::size_t i = 0; i < documents_.size(); ++i) {
      const SurveyedDocument& each = documents_[i];
      if (i + 1 < documents_.size()) checkEarlier(each);
      for (const auto& definition : each.enums) checkEnum(*definition);
      for (const auto& definition : each.tlv8s) checkTlv8(*definition);
      for (const auto& parent : each.characteristics) checkCharacteristic(*parent);
      for (const auto& service : each.services) checkService(*service);
      checkNames(each.enums, enumNames_);
      checkNames(each.tlv8s, tlv8Names_);
      checkKeys(each.characteristics, characteristicKeys_);
      checkKeys(each.services, serviceKeys_);
    }
    for (const SurveyedDocument& each : documents_) collectUses(each.document->rootElement().get());
    for (const SurveyedDocument& each : documents_) checkUse(each);
  }

 private:
  void warn(const QVXMLObject& definition, const char* rule, const std::string& text) {
    findings_.add(definition.element().get(), Severity::warning, rule, text);
  }

  // Only the last document's characteristics are found by transport.
  void checkEarlier(const SurveyedDocument& each) {
    if (each.characteristics.empty()) return;
    const auto root = each.document->rootElement();
    findings_.add(root->firstChildNamed("characteristics"), Severity::warning,
                  "profile.earlier-document",
                  "These characteristics are not found by transport, because another document "
                  "follows");
  }

  template <class Definition>
  void checkNames(const std::vector<std::shared_ptr<Definition>>& list,
                  std::map<std::string, const XMLDocument*>& names) {
    for (const auto& definition : list) {
      const XMLDocument* const document = &definition->element()->document();
      const auto [first, isNew] = names.emplace(textOf(definition->name()), document);
      if (!isNew && first->second != document) shadowed(*definition, first->first, *first->second);
    }
  }

  template <class Definition>
  void checkKeys(const std::vector<std::shared_ptr<Definition>>& list,
                 std::map<std::string, const XMLDocument*>& known) {
    for (const auto& parent : list) {
      const XMLDocument* const document = &parent->element()->document();
      const std::string* key = nullptr;
      const XMLDocument* earlier = nullptr;
      for (const std::string& each : keysOf(*parent)) {
        const auto [first, isNew] = known.emplace(each, document);
        if (isNew || first->second == document || key != nullptr) continue;
        key = &first->first;
        earlier = first->second;
      }
      if (key != nullptr) shadowed(*parent, *key, *earlier);
    }
  }

  void shadowed(const QVXMLObject& definition, const std::string& key, const XMLDocument& earlier) {
    warn(definition, "profile.shadowed",
         fmt::format("'{}' is found in {}, not here", key, earlier.name()));
  }

  void checkEnum(const QVEnumXMLObject& definition) {
    const QVFormatType format = definition.format();
    const bool hasValues = format <= QVFormatType::string;
    if (!hasValues) {
      warn(definition, "profile.valueless-enum",
           fmt::format("An enum of the format {} accepts no value", nameOf(format)));
    }
    if (definition.isBitmask() && bitsOf(format) == 0 && hasValues) {
      warn(definition, "profile.valueless-enum",
           fmt::format("A bitmask of the format {} has no bits", nameOf(format)));
    }
    std::set<std::string> symbols;
    std::set<std::string> values;
    for (const auto& value : itemsOf(definition.values())) {
      if (!symbols.insert(textOf(value->symbol())).second) {
        warn(*value, "profile.repeated-symbol",
             fmt::format("The symbol '{}' repeats", textOf(value->symbol())));
      }
      if (hasValues) checkValue(definition, *value, values);
    }
  }

  void checkValue(const QVEnumXMLObject& definition, const QVEnumValueXMLObject& value,
                  std::set<std::string>& values) {
    const QVFormatType format = definition.format();
    const std::string text = textOf(value.value());
    const auto representation = value.valueRepresentationUsingEnumObject(definition);
    const auto number = representation ? representation->asNumber() : std::nullopt;
    if (!values.insert(number ? number->text() : text).second) {
      warn(value, "profile.repeated-value", fmt::format("The value '{}' repeats", text));
    }
    if (!number || format == QVFormatType::boolean) return;
    const std::int64_t bit = integerReading(text);
    if (!isWhollyRead(text, format)) {
      warn(value, "profile.partial-number",
           fmt::format("'{}' is read as {}", text,
                       definition.isBitmask() ? Number::int64(bit).text() : number->text()));
    } else if (definition.isBitmask()) {
      if (bit < 1 || bit > static_cast<std::int64_t>(bitsOf(format))) {
        warn(value, "profile.out-of-range", fmt::format("{} has no bit {}", nameOf(format), bit));
      }
    } else if (!fits(bit, format)) {
      warn(value, "profile.out-of-range", fmt::format("{} does not fit {}", text, nameOf(format)));
    }
  }

  void checkTlv8(const QVTLV8XMLObject& definition) {
    std::set<std::uint8_t> types;
    for (const auto& field : itemsOf(definition.fields())) {
      if (!types.insert(field->type()).second) {
        warn(*field, "profile.repeated-type",
             fmt::format("An earlier field has the type 0x{:02x} and is used instead",
                         field->type()));
      }
    }
  }

  void checkCharacteristic(const QVCharacteristicXMLObject& parent) {
    if (parent.ip() == nullptr && parent.btle() == nullptr) {
      warn(parent, "profile.no-transport", "Without ip and btle the characteristic is never found");
    }
    checkLimits(parent);
    if (const auto ip = parent.ip()) checkLimits(*ip);
    if (const auto btle = parent.btle()) checkLimits(*btle);
  }

  // What a definition says itself, and what it has in all.
  void checkLimits(const QVCharacteristicXMLObject& definition) {
    for (const char* tag : {"minValue", "maxValue", "step"}) {
      const XMLElement* const limit = definition.element()->firstChildNamed(tag);
      const auto text = limit == nullptr ? std::nullopt : limit->attribute("value");
      if (!text) continue;
      const std::int64_t value = integerReading(*text);
      if (!isWhollyRead(*text, definition.format())) {
        findings_.add(limit, Severity::warning, "profile.partial-number",
                      fmt::format("'{}' is no number that {} holds whole", *text,
                                  nameOf(definition.format())));
      } else if (bitsOf(definition.format()) > 0 && !fits(value, definition.format())) {
        findings_.add(limit, Severity::warning, "profile.out-of-range",
                      fmt::format("{} does not fit {}", *text, nameOf(definition.format())));
      }
    }
    const auto minimum = definition.minValue();
    const auto maximum = definition.maxValue();
    const auto parent = definition.parent();
    const bool isSaid =
        parent == nullptr || parent->minValue() != minimum || parent->maxValue() != maximum;
    if (minimum && maximum && isSaid && minimum->doubleValue() > maximum->doubleValue()) {
      warn(definition, "profile.inverted-limits",
           fmt::format("The minimum {} is above the maximum {}", minimum->text(), maximum->text()));
    }
  }

  void checkService(const QVServiceXMLObject& parent) {
    if (parent.ip() == nullptr && parent.btle() == nullptr) {
      warn(parent, "profile.no-transport", "Without ip and btle the service is never found");
    }
    for (const auto& instance : {parent.ip(), parent.btle()}) {
      if (instance == nullptr) continue;
      std::set<const void*> listed;
      for (const auto& list : {instance->required(), instance->optional()}) {
        for (const auto& characteristic : itemsOf(list)) {
          if (listed.insert(characteristic.get()).second) continue;
          warn(*instance, "profile.listed-twice",
               fmt::format("It lists '{}' twice", textOf(characteristic->name())));
        }
      }
    }
  }

  // Nothing of the library asks for an enum or a structure by itself, "Pairing" aside.
  void checkUse(const SurveyedDocument& each) {
    for (const auto& definition : each.enums) {
      if (!usedEnums_.contains(textOf(definition->name()))) {
        warn(*definition, "profile.unused", "Nothing uses this enum");
      }
    }
    for (const auto& definition : each.tlv8s) {
      const std::string name = textOf(definition->name());
      if (!usedTlv8s_.contains(name) && name != "Pairing") {
        warn(*definition, "profile.unused", "Nothing uses this structure");
      }
    }
  }

  // The names that fields and characteristics mention, faulty ones included.
  void collectUses(const XMLElement* root) {
    std::vector<const XMLElement*> left = {root};
    while (!left.empty()) {
      const XMLElement* const element = left.back();
      left.pop_back();
      if (element->name() == "field" || element->name() == "format") {
        if (const auto name = element->attribute("enum")) usedEnums_.emplace(*name);
        if (const auto name = element->attribute("tlv8")) usedTlv8s_.emplace(*name);
      }
      for (const XMLNode* child = element->firstChild(); child != nullptr;
           child = child->nextSibling()) {
        if (child->asElement() != nullptr) left.push_back(child->asElement());
      }
    }
  }

  const std::vector<SurveyedDocument>& documents_;
  SurveyFindings& findings_;
  std::map<std::string, const XMLDocument*> enumNames_;
  std::map<std::string, const XMLDocument*> tlv8Names_;
  std::map<std::string, const XMLDocument*> characteristicKeys_;
  std::map<std::string, const XMLDocument*> serviceKeys_;
  std::set<std::string> usedEnums_;
  std::set<std::string> usedTlv8s_;
};

}  // namespace

void addWarnings(const std::vector<SurveyedDocument>& documents, SurveyFindings& findings) {
  Warnings(documents, findings).run();
}

}  // namespace qv::check
