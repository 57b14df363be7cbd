#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "qvparsersupport/common/export.h"
#include "qvparsersupport/common/failure.h"
#include "qvparsersupport/common/value.h"
#include "qvparsersupport/common/xml_tree.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/definition_list.h"
#include "qvparsersupport/definitions/enum_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "qvparsersupport/definitions/tlv8_xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

// Why the last load failed, beyond the text that the loader answers.
struct QVLoadFault {
  std::string reason;
  std::shared_ptr<const XMLElement> element;    // the element concerned; null when none is known
  std::shared_ptr<const XMLDocument> document;  // the document being read; null after a restore
};

// The process-wide registry of everything that a set of profiles defines. A load replaces its
// contents and is not all-or-nothing: what was complete before a fault stays in the table. Lookups
// answer the first match in load order; they answer null for no match, except during a load, when
// they raise the load-assertion error so that an unresolved reference ends the load. Nothing else
// raises.
//
// One thread loads before any other looks up; there is no locking.
class QV_EXPORT QVSymbolTable {
 public:
  // The one instance of the process, made empty on first use and never destroyed.
  static QVSymbolTable& sharedSymbolTable();

  // Replaces the contents with the definitions of the documents, in order, and runs the sanity
  // check. The error description is cleared first. On failure: false, the reason, and two lines in
  // the process log (the reason, and where it was raised). Memory that runs out, in the log's sink
  // too, ends it with std::bad_alloc: no load is in progress then, but a reason may be missing.
  bool loadDocuments(std::span<const std::shared_ptr<const XMLDocument>> documents,
                     ErrorSlot errorDescription = nullptr);

  // The whole table as plain dictionaries, arrays, texts and numbers, each list empty when null.
  Value archiveRepresentation() const;
  // Replaces the contents with those of such a representation, without checking that keys are
  // unique or that values can be encoded. Unlike after a document load, `transportCharacteristics`
  // then holds the instances of every characteristic. What the representation lacks, or holds as
  // another kind of value, reads as null, 0 or an empty list. Fails as `loadDocuments` does, for a
  // reference to what it does not hold, for nesting beyond 64 levels and for more than 100,000
  // instances of instances.
  bool loadArchivedRepresentation(const Value& representation,
                                  ErrorSlot errorDescription = nullptr);

  // Names are compared exactly. `user` is the element that a failure during a load is put down to.
  std::shared_ptr<QVEnumXMLObject> enumWithName(std::string_view name,
                                                const XMLElement* user = nullptr) const;
  std::shared_ptr<QVTLV8XMLObject> tlv8WithName(std::string_view name,
                                                const XMLElement* user = nullptr) const;
  // A ref is a name, a UTI or a UUID in any letter case. A parent matches through its instances;
  // one with neither instance is never found.
  std::shared_ptr<QVCharacteristicXMLObject> parentCharacteristicWithRef(
      std::string_view ref, const XMLElement* user = nullptr) const;
  std::shared_ptr<QVCharacteristicXMLObject> characteristicWithRef(std::string_view ref,
                                                                   QVTransport transport) const;
  std::shared_ptr<QVServiceXMLObject> parentServiceWithRef(std::string_view ref) const;
  std::shared_ptr<QVServiceXMLObject> serviceWithRef(std::string_view ref,
                                                     QVTransport transport) const;

  // The same lookups for those who are no part of a load: they never raise.
  std::shared_ptr<QVTLV8XMLObject> findTLV8(std::string_view name) const;
  std::shared_ptr<QVCharacteristicXMLObject> findCharacteristic(std::string_view ref,
                                                                QVTransport transport) const;
  std::shared_ptr<QVServiceXMLObject> findService(std::string_view ref,
                                                  QVTransport transport) const;

  // The document being loaded, or the last one; null before the first load.
  std::shared_ptr<const XMLDocument> document() const;
  bool loadInProgress() const;
  DefinitionList<QVEnumXMLObject> enums() const;
  DefinitionList<QVTLV8XMLObject> tlv8s() const;
  DefinitionList<QVCharacteristicXMLObject> characteristics() const;
  // Deliberate: the instances of the last characteristics section read, not of all of them; after
  // a restore, of all.
  DefinitionList<QVCharacteristicXMLObject> transportCharacteristics() const;
  DefinitionList<QVServiceXMLObject> services() const;

  void setDocument(std::shared_ptr<const XMLDocument> document);
  void setLoadInProgress(bool loadInProgress);
  // Each keeps a copy of the list, so later changes to it do not reach the table.
  void setEnums(const DefinitionList<QVEnumXMLObject>& enums);
  void setTlv8s(const DefinitionList<QVTLV8XMLObject>& tlv8s);
  void setCharacteristics(const DefinitionList<QVCharacteristicXMLObject>& characteristics);
  void setTransportCharacteristics(
      const DefinitionList<QVCharacteristicXMLObject>& characteristics);
  void setServices(const DefinitionList<QVServiceXMLObject>& services);

  // Why the last load failed, with the place; null after a load that succeeded.
  const std::optional<QVLoadFault>& lastLoadFault() const;

  QVSymbolTable(const QVSymbolTable&) = delete;
  QVSymbolTable& operator=(const QVSymbolTable&) = delete;

  // The steps of a load, in the order in which it takes them.
  void _reset();
  std::shared_ptr<const XMLElement> _profilesElementWithName(std::string_view name) const;
  void _loadEnums();
  void _loadTLV8s();
  void _loadCharacteristics();
  void _loadServices();
  bool _runSanityCheckWithErrorDescription(ErrorSlot errorDescription);

 private:
  struct State;
  // Definitions resolve their references in the shared table, so there is no other.
  QVSymbolTable();
  ~QVSymbolTable();
  // Runs a load from a table that was reset, and turns the load-assertion error into a failure.
  bool guardedLoad(ErrorSlot errorDescription, const std::function<bool()>& load);

  std::unique_ptr<State> state_;
};

}  // namespace qv
