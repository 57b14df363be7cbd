#include "tools/qvcheck/profile_survey.h"

#include <fmt/format.h>

#include <map>

#include "qvparsersupport/common/load_assertion.h"
#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/transformers/transformer.h"
#include "tools/qvcheck/profile_index.h"
#include "tools/qvcheck/survey_findings.h"
#include "tools/qvcheck/tool_rules.h"

namespace qv::check {

namespace {

constexpr const char* kSections[] = {"enums", "tlv8s", "characteristics", "services"};

template <class Definition>
DefinitionList<Definition> listOf(std::vector<std::shared_ptr<Definition>> items) {
  return std::make_shared<const std::vector<std::shared_ptr<Definition>>>(std::move(items));
}

// Builds definitions one by one in a table that says that it is being loaded, so that lookups raise
// what they raise for the loader.
class Surveyor {
 public:
  Surveyor(const std::optional<QVLoadFault>& fault, SurveyFindings& findings)
      : fault_(fault), findings_(findings) {
    table_._reset();
    table_.setTransportCharacteristics(nullptr);
    table_.setLoadInProgress(true);
  }
  ~Surveyor() { table_.setLoadInProgress(false); }
  Surveyor(const Surveyor&) = delete;
  Surveyor& operator=(const Surveyor&) = delete;

  SurveyedDocument survey(const std::shared_ptr<const XMLDocument>& document) {
    SurveyedDocument surveyed;
    surveyed.document = document.get();
    table_.setDocument(document);
    for (const char* name : kSections) {
      attempt(document->rootElement().get(), [&] { table_._profilesElementWithName(name); });
    }
    surveyEnums(*document, surveyed);
    surveyTlv8s(*document, surveyed);
    surveyCharacteristics(*document, surveyed);
    surveyServices(*document, surveyed);
    return surveyed;
  }

  // What the sanity check says about the definitions of a document, in the words of the library.
  // Of characteristics it looks at the last document's alone.
  void checkTransformers(const SurveyedDocument& surveyed, bool isLast) {
    const auto sanity = [&](const XMLElement* element) {
      std::optional<std::string> reason;
      if (!table_._runSanityCheckWithErrorDescription(&reason)) {
        findings_.error(element, reason.value_or(""));
      }
    };
    table_.setTlv8s(nullptr);
    for (const auto& parent : surveyed.characteristics) {
      for (const auto& instance : {parent->ip(), parent->btle()}) {
        if (instance == nullptr || hasTransformer(instance->transport(), instance->format()))
          continue;
        if (!isLast) {
          findings_.add(instance->element().get(), Severity::warning, "profile.no-transformer",
                        "No transformer carries this format here; it is not refused only because "
                        "another document follows");
          continue;
        }
        table_.setTransportCharacteristics(listOf<QVCharacteristicXMLObject>({instance}));
        sanity(instance->element().get());
      }
    }
    table_.setTransportCharacteristics(nullptr);
    for (const auto& tlv8 : surveyed.tlv8s) {
      for (const auto& field : itemsOf(tlv8->fields())) {
        if (hasTransformer(QVTransport::tlv8, field->format())) continue;
        auto alone = std::make_shared<QVTLV8XMLObject>();
        alone->setFields(listOf<QVTLV8FieldXMLObject>({field}));
        table_.setTlv8s(listOf<QVTLV8XMLObject>({alone}));
        sanity(field->element().get());
      }
    }
  }

 private:
  static bool hasTransformer(QVTransport transport, QVFormatType format) {
    return QVTransformer::transformerForTransport(transport, format) != nullptr;
  }

  // Runs what may raise; reports what it raises, and answers whether it went well.
  template <class Build>
  bool attempt(const XMLElement* element, Build build) {
    try {
      build();
      return true;
    } catch (const QVLoadAssertion& assertion) {
      const XMLElement* const place =
          assertion.element() != nullptr ? assertion.element().get() : element;
      if (!consequences_.contains(assertion.reason())) findings_.error(place, assertion.reason());
      return false;
    }
  }

  // What a lookup raises now is from here on taken for the consequence of another fault.
  template <class Lookup>
  void expectMiss(Lookup lookup) {
    try {
      lookup();
    } catch (const QVLoadAssertion& assertion) {
      consequences_.insert(assertion.reason());
    }
  }

  template <class Read>
  static void forEachChild(const XMLElement* parent, std::string_view name, Read read) {
    if (parent == nullptr) return;
    for (auto* child = parent->firstChildNamed(name); child != nullptr;
         child = child->nextNamed(name)) {
      read(child);
    }
  }

  template <class Read>
  static void forEachDefinition(const XMLDocument& document, const char* section, const char* name,
                                Read read) {
    forEachChild(document.rootElement().get(), section,
                 [&](const XMLElement* each) { forEachChild(each, name, read); });
  }

  // The parts of a faulty definition that can be built alone.
  template <class Part>
  void attemptParts(const XMLElement* definition, const char* list, const char* name) {
    forEachChild(definition, list, [&](const XMLElement* parts) {
      forEachChild(parts, name, [&](const XMLElement* part) {
        attempt(part, [&] { Part::initWithXMLElement(part->handle()); });
      });
    });
  }

  // A key that is taken. In the loader's words where it stopped at the same element.
  void notUnique(const XMLElement* element, const std::string& key) {
    if (fault_ && fault_->element.get() == element &&
        ruleOfRefusal(fault_->reason) == "profile.duplicate-name") {
      findings_.error(element, fault_->reason);
      return;
    }
    findings_.add(element, Severity::error, "profile.duplicate-name",
                  fmt::format("'{}' identifies an earlier definition of this section", key));
  }

  void surveyEnums(const XMLDocument& document, SurveyedDocument& surveyed) {
    std::set<std::string> names;
    forEachDefinition(document, "enums", "enum", [&](const XMLElement* element) {
      std::shared_ptr<QVEnumXMLObject> built;
      if (!attempt(element,
                   [&] { built = QVEnumXMLObject::initWithXMLElement(element->handle()); })) {
        attemptParts<QVEnumValueXMLObject>(element, "values", "value");
        if (const auto name = element->attribute("name")) brokenEnums_.emplace_back(*name);
        return;
      }
      if (!names.insert(*built->name()).second) notUnique(element, *built->name());
      surveyed.enums.push_back(built);
      enums_.push_back(std::move(built));
    });
    table_.setEnums(listOf(enums_));
    for (const std::string& name : brokenEnums_) expectMiss([&] { table_.enumWithName(name); });
  }

  // For every structure the table holds just those that it refers to: whatever else was read makes
  // no difference to it, and to set the whole list each time would take quadratic time.
  void makeVisible(const XMLElement* element) {
    std::vector<std::shared_ptr<QVTLV8XMLObject>> visible;
    forEachChild(element, "fields", [&](const XMLElement* fields) {
      forEachChild(fields, "field", [&](const XMLElement* field) {
        const auto name = field->attribute("tlv8");
        const auto found = name ? tlv8sByName_.find(std::string(*name)) : tlv8sByName_.end();
        if (found != tlv8sByName_.end()) visible.push_back(found->second);
      });
    });
    table_.setTlv8s(listOf(std::move(visible)));
  }

  void surveyTlv8s(const XMLDocument& document, SurveyedDocument& surveyed) {
    std::set<std::string> names;
    forEachDefinition(document, "tlv8s", "tlv8", [&](const XMLElement* element) {
      makeVisible(element);
      std::shared_ptr<QVTLV8XMLObject> built;
      if (!attempt(element,
                   [&] { built = QVTLV8XMLObject::initWithXMLElement(element->handle()); })) {
        attemptParts<QVTLV8FieldXMLObject>(element, "fields", "field");
        if (const auto name = element->attribute("name")) {
          expectMiss([&] { table_.tlv8WithName(*name); });
        }
        return;
      }
      if (!names.insert(*built->name()).second) notUnique(element, *built->name());
      tlv8sByName_.emplace(*built->name(), built);
      surveyed.tlv8s.push_back(built);
      tlv8s_.push_back(std::move(built));
    });
    table_.setTlv8s(listOf(tlv8s_));
  }

  // Every text by which the definition might have been found.
  void expectMissesOf(const XMLElement* element) {
    std::vector<std::string_view> refs;
    if (const auto name = element->attribute("name")) refs.push_back(*name);
    const auto addTypes = [&](const XMLElement* holder) {
      forEachChild(holder, "type", [&](const XMLElement* type) {
        for (const char* key : {"uti", "uuid"}) {
          if (const auto value = type->attribute(key)) refs.push_back(*value);
        }
      });
    };
    addTypes(element);
    forEachChild(element, "ip", addTypes);
    forEachChild(element, "btle", addTypes);
    for (const std::string_view ref : refs) {
      expectMiss([&] { table_.parentCharacteristicWithRef(ref); });
    }
  }

  template <class Definition>
  void checkKeys(const Definition& parent, std::set<std::string>& taken) {
    const std::set<std::string> keys = keysOf(parent);
    for (const std::string& key : keys) {
      if (!taken.contains(key)) continue;
      notUnique(parent.element().get(), key);
      break;
    }
    taken.insert(keys.begin(), keys.end());
  }

  void surveyCharacteristics(const XMLDocument& document, SurveyedDocument& surveyed) {
    std::set<std::string> taken;
    std::vector<const XMLElement*> broken;
    forEachDefinition(
        document, "characteristics", "characteristic", [&](const XMLElement* element) {
          std::shared_ptr<QVCharacteristicXMLObject> built;
          const bool isBuilt = attempt(element, [&] {
            built = QVCharacteristicXMLObject::initWithXMLElement(element->handle());
          });
          if (!isBuilt) {
            const auto attemptProperties = [&](const XMLElement* holder) {
              attemptParts<QVCharacteristicPropertyXMLObject>(holder, "properties", "property");
            };
            attemptProperties(element);
            forEachChild(element, "ip", attemptProperties);
            forEachChild(element, "btle", attemptProperties);
            broken.push_back(element);
            return;
          }
          checkKeys(*built, taken);
          surveyed.characteristics.push_back(built);
          characteristics_.push_back(std::move(built));
        });
    table_.setCharacteristics(listOf(characteristics_));
    for (const XMLElement* element : broken) expectMissesOf(element);
  }

  void surveyServices(const XMLDocument& document, SurveyedDocument& surveyed) {
    std::set<std::string> taken;
    forEachDefinition(document, "services", "service", [&](const XMLElement* element) {
      std::shared_ptr<QVServiceXMLObject> built;
      if (!attempt(element,
                   [&] { built = QVServiceXMLObject::initWithXMLElement(element->handle()); })) {
        forEachChild(element, "ip", [&](const XMLElement* ip) { attemptReferences(ip); });
        forEachChild(element, "btle", [&](const XMLElement* btle) { attemptReferences(btle); });
        return;
      }
      checkKeys(*built, taken);
      surveyed.services.push_back(std::move(built));
    });
  }

  void attemptReferences(const XMLElement* instance) {
    for (const char* list : {"required", "optional"}) {
      forEachChild(instance, list, [&](const XMLElement* references) {
        forEachChild(references, "characteristic", [&](const XMLElement* reference) {
          attempt(reference, [&] {
            QVServiceCharacteristicReferenceXMLObject::resolveReferenceWithElement(
                reference->handle());
          });
        });
      });
    }
  }

  QVSymbolTable& table_ = QVSymbolTable::sharedSymbolTable();
  const std::optional<QVLoadFault>& fault_;
  SurveyFindings& findings_;
  std::set<std::string> consequences_;
  std::vector<std::string> brokenEnums_;
  std::vector<std::shared_ptr<QVEnumXMLObject>> enums_;
  std::vector<std::shared_ptr<QVTLV8XMLObject>> tlv8s_;
  std::map<std::string, std::shared_ptr<QVTLV8XMLObject>> tlv8sByName_;
  std::vector<std::shared_ptr<QVCharacteristicXMLObject>> characteristics_;
};

}  // namespace

std::vector<Finding> surveyOf(const std::vector<std::shared_ptr<const XMLDocument>>& documents,
                              const std::optional<QVLoadFault>& fault) {
  SurveyFindings findings;
  std::vector<SurveyedDocument> surveyed;
  {
    Surveyor surveyor(fault, findings);
    for (const auto& document : documents) surveyed.push_back(surveyor.survey(document));
    for (const SurveyedDocument& each : surveyed) {
      surveyor.checkTransformers(each, &each == &surveyed.back());
    }
  }
  addWarnings(surveyed, findings);
  for (const auto& document : documents) addUnread(*document, findings);
  // Whatever else is found, what the loader stopped at is.
  if (fault && !findings.hasError(fault->element.get(), fault->reason)) {
    findings.add(fault->element.get(), Severity::error, "profile.refused", fault->reason);
  }
  return findings.take(documents);
}

}  // namespace qv::check
