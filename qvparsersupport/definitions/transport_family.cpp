#include "qvparsersupport/definitions/transport_family.h"

#include <fmt/format.h>

#include <new>
#include <vector>

#include "qvparsersupport/common/utf8.h"
#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/child_elements.h"
#include "qvparsersupport/definitions/service_xml_object.h"

namespace qv {

namespace {

std::optional<std::string> lowercasedText(std::optional<std::string_view> text) {
  if (!text) return std::nullopt;
  return isPlainLowercase(*text) ? std::string(*text) : lowercased(*text);
}

template <class Left, class Right>
bool haveSameOwner(const Left& left, const Right& right) {
  return !left.owner_before(right) && !right.owner_before(left);
}

std::optional<std::string_view> viewOf(const std::optional<std::string>& text) {
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}

}  // namespace

// A host may nest instances to any depth; they are taken apart one by one, not by recursion.
template <class Definition>
QVTransportFamily<Definition>::~QVTransportFamily() {
  const auto isNested = [](const std::shared_ptr<Definition>& instance) {
    return instance != nullptr && (instance->ip_ != nullptr || instance->btle_ != nullptr ||
                                   instance->replaced_ != nullptr);
  };
  if (!isNested(ip_) && !isNested(btle_) && replaced_ == nullptr) return;
  try {
    std::vector<std::shared_ptr<Definition>> pending;
    const auto take = [&](std::shared_ptr<Definition>& instance) {
      if (instance != nullptr) pending.push_back(std::move(instance));
    };
    const auto takeAll = [&](QVTransportFamily& family) {
      take(family.ip_);
      take(family.btle_);
      if (family.replaced_ == nullptr) return;
      for (auto& each : *family.replaced_) take(each);
    };
    takeAll(*this);
    while (!pending.empty()) {
      const std::shared_ptr<Definition> last = std::move(pending.back());
      pending.pop_back();
      if (last.use_count() != 1) continue;
      takeAll(*last);
    }
  } catch (const std::bad_alloc&) {  // what is left goes the ordinary way
  }
}

template <class Definition>
std::optional<std::string> QVTransportFamily<Definition>::name() const {
  return inherited([](const Definition& each) { return each.name_; });
}

template <class Definition>
std::optional<std::string> QVTransportFamily<Definition>::uuid() const {
  return inherited([](const Definition& each) { return each.uuid_; });
}

template <class Definition>
std::optional<std::string> QVTransportFamily<Definition>::uti() const {
  return inherited([](const Definition& each) { return each.uti_; });
}

template <class Definition>
std::optional<std::string_view> QVTransportFamily<Definition>::nameView() const {
  return inherited([](const Definition& each) { return viewOf(each.name_); });
}

template <class Definition>
std::optional<std::string_view> QVTransportFamily<Definition>::uuidView() const {
  return inherited([](const Definition& each) { return viewOf(each.uuid_); });
}

template <class Definition>
std::optional<std::string_view> QVTransportFamily<Definition>::utiView() const {
  return inherited([](const Definition& each) { return viewOf(each.uti_); });
}

template <class Definition>
void QVTransportFamily<Definition>::setName(std::optional<std::string> name) {
  this->lookupKeyChanges();
  name_ = std::move(name);
}

template <class Definition>
void QVTransportFamily<Definition>::setUuid(std::optional<std::string> uuid) {
  this->lookupKeyChanges();
  uuid_ = std::move(uuid);
}

template <class Definition>
void QVTransportFamily<Definition>::setUti(std::optional<std::string> uti) {
  this->lookupKeyChanges();
  uti_ = std::move(uti);
}

template <class Definition>
void QVTransportFamily<Definition>::setTransport(QVTransport transport) {
  this->lookupKeyChanges();
  transport_ = transport;
}

template <class Definition>
void QVTransportFamily<Definition>::setParent(const std::shared_ptr<Definition>& parent) {
  this->lookupKeyChanges();
  parent_ = parent;
}

template <class Definition>
void QVTransportFamily<Definition>::setIp(std::shared_ptr<Definition> instance) {
  this->lookupKeyChanges();
  replace(ip_, withoutFamilyHandle(std::move(instance)));
}

template <class Definition>
void QVTransportFamily<Definition>::setBtle(std::shared_ptr<Definition> instance) {
  this->lookupKeyChanges();
  replace(btle_, withoutFamilyHandle(std::move(instance)));
}

template <class Definition>
void QVTransportFamily<Definition>::replace(std::shared_ptr<Definition>& slot,
                                            std::shared_ptr<Definition> instance) {
  if (slot == instance) return;
  if (slot != nullptr) {
    if (replaced_ == nullptr) {
      replaced_ = std::make_unique<std::vector<std::shared_ptr<Definition>>>();
    }
    replaced_->push_back(slot);
  }
  slot = std::move(instance);
}

template <class Definition>
std::shared_ptr<Definition> QVTransportFamily<Definition>::familyHandle(
    const std::shared_ptr<Definition>& instance) const {
  if (instance == nullptr) return nullptr;
  const std::shared_ptr<const Definition> family = this->weak_from_this().lock();
  if (family == nullptr) return instance;
  return {family, instance.get()};
}

template <class Definition>
bool QVTransportFamily<Definition>::isFamilyHandle(
    const std::shared_ptr<Definition>& instance) const {
  const std::shared_ptr<Definition>& owner = FamilyKeeper<Definition>::ownerOf(instance);
  return haveSameOwner(owner, this->weak_from_this()) || haveSameOwner(owner, parent_);
}

// A family handle put back into its own family would keep the family alive by itself. What is
// stored instead owns the instance alone; a definition that is made its own instance is not owned
// at all.
template <class Definition>
std::shared_ptr<Definition> QVTransportFamily<Definition>::withoutFamilyHandle(
    std::shared_ptr<Definition> instance) const {
  if (instance == nullptr) return nullptr;
  if (instance.get() == &self()) return {std::shared_ptr<Definition>(), instance.get()};
  if (!isFamilyHandle(instance)) return instance;
  std::shared_ptr<Definition> alone = instance->weak_from_this().lock();
  return alone != nullptr ? alone : instance;
}

template <class Definition>
void QVTransportFamily<Definition>::loadIdentity(const std::shared_ptr<Definition>& parent,
                                                 QVTransport transport,
                                                 const TaggedChildren& type) {
  transport_ = transport;
  parent_ = parent;
  if (parent == nullptr) name_ = requiredAttribute("name");
  uti_ = lowercasedText(valueAmong(type, "uti"));
  uuid_ = lowercasedText(valueAmong(type, "uuid"));
}

template <class Definition>
void QVTransportFamily<Definition>::loadInstances(const std::shared_ptr<Definition>& parent,
                                                  const TaggedChildren& ip,
                                                  const TaggedChildren& btle) {
  if (parent != nullptr) return validateInstances();
  ip_ = loadInstance(ip, QVTransport::ip);
  btle_ = loadInstance(btle, QVTransport::btle);
}

template <class Definition>
std::shared_ptr<Definition> QVTransportFamily<Definition>::loadInstance(
    const TaggedChildren& children, QVTransport transport) {
  if (children.count == 0) return nullptr;
  if (children.count > 1) {
    raise(fmt::format("Must only have 1 {} element", children.tag), secondOf(children));
  }
  return Definition::initWithXMLElement(handleTo(children.first), this->shared_from_this(),
                                        transport);
}

template <class Definition>
void QVTransportFamily<Definition>::validateInstances() const {
  if (parent() == nullptr) return;
  if (ip_ != nullptr) ip_->validateIPTransport();
  if (btle_ != nullptr) btle_->validateBTLETransport();
}

template <class Definition>
void QVTransportFamily<Definition>::validateTransport() const {
  if (!nameView()) raise("Must have a name");
  self().validateContents();
}

template <class Definition>
void QVTransportFamily<Definition>::validateIPTransport() const {
  validateTransport();
  if (!uuidView()) raise("IP must have a UUID");
}

template <class Definition>
void QVTransportFamily<Definition>::validateBTLETransport() const {
  validateTransport();
  if (!uuidView()) raise("BLE must have a UUID");
}

template class QVTransportFamily<QVCharacteristicXMLObject>;
template class QVTransportFamily<QVServiceXMLObject>;

}  // namespace qv
