#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "qvparsersupport/definitions/xml_object.h"
#include "qvparsersupport/vocabulary/types.h"

namespace qv {

template <class Definition>
struct ArchivedInstances;
template <class Definition>
class FamilyArchive;

// The owner behind a handle to an instance that counts its references by itself, and keeps the
// family through the handle that it was made from. Tables of many instances hold such handles:
// their counts lie close together, where those of the families are spread over all that the
// families consist of.
template <class Definition>
struct FamilyKeeper {
  std::shared_ptr<Definition> family;
  void operator()(Definition*) { family.reset(); }

  static std::shared_ptr<Definition> separateHandle(std::shared_ptr<Definition> handle) {
    Definition* const definition = handle.get();
    return {definition, FamilyKeeper{std::move(handle)}};
  }
  // The handle that owns what the given one keeps alive.
  static const std::shared_ptr<Definition>& ownerOf(const std::shared_ptr<Definition>& handle) {
    const auto* keeper = std::get_deleter<FamilyKeeper>(handle);
    return keeper != nullptr ? keeper->family : handle;
  }
};

// What characteristic and service definitions have in common: a small tree of a parent, read from
// the definition's own element, and up to two instances, read from its `ip` and `btle` children. An
// instance stores what its own element says and reads everything else through to its parent.
//
// Lifetime: the parent owns its instances and an instance refers back without owning. A handle that
// `ip()` or `btle()` answers keeps the whole family alive, so an instance can be read in full for
// as long as somebody holds it. An instance that a host built itself and whose parent is gone reads
// as if it had none. An instance that was replaced lives on with its family, for the sake of those
// who hold it. Parent chains of any shape are safe to read, those that lead back included. What is
// inherited is searched for up the chain whenever it is read, so that archiving instances nested n
// deep costs n² steps: nothing for families out of profiles (1) and archives (60), but the limit of
// what a host can nest.
template <class Definition>
class QV_EXPORT QVTransportFamily : public QVXMLObject,
                                    public std::enable_shared_from_this<Definition> {
 public:
  ~QVTransportFamily() override;

  // Inherited from the parent when unset; null when the parent has none either.
  std::optional<std::string> name() const;
  std::optional<std::string> uuid() const;  // lower case
  std::optional<std::string> uti() const;   // lower case
  // The same without a copy; valid while the family lives and nobody writes to it.
  std::optional<std::string_view> nameView() const;
  std::optional<std::string_view> uuidView() const;
  std::optional<std::string_view> utiView() const;

  QVTransport transport() const { return transport_; }
  std::shared_ptr<Definition> parent() const { return parent_.lock(); }
  std::shared_ptr<Definition> ip() const { return familyHandle(ip_); }
  std::shared_ptr<Definition> btle() const { return familyHandle(btle_); }

  // Each sets this object's own value only.
  void setName(std::optional<std::string> name);
  void setUuid(std::optional<std::string> uuid);
  void setUti(std::optional<std::string> uti);
  void setTransport(QVTransport transport);
  void setParent(const std::shared_ptr<Definition>& parent);
  void setIp(std::shared_ptr<Definition> instance);
  void setBtle(std::shared_ptr<Definition> instance);

  // What a definition must have to be used on one transport: raises the load-assertion error for
  // the first thing that is missing, inherited values counted in.
  void validateIPTransport() const;
  void validateBTLETransport() const;
  // Validates the instances that hang on an instance; nothing for a parent. Loading runs it on
  // every instance it reads. Profiles cannot nest instances and archives are not
  // validated, so only definitions that a host puts together have anything to validate.
  void validateInstances() const;

  std::string description() const override { return descriptionWithName(name()); }

 protected:
  // The first answer of `read` that is not null, from this definition and then its parents.
  template <class Read>
  auto inherited(Read read) const {
    auto value = read(self());
    std::shared_ptr<const Definition> at = parent_.lock();
    // Brent's algorithm: `mark` catches a chain that leads back, however long its way in.
    const Definition* mark = &self();
    for (std::size_t steps = 0, limit = 1; !value && at != nullptr && at.get() != mark;) {
      value = read(*at);
      if (++steps == limit) {
        mark = at.get();
        limit *= 2;
        steps = 0;
      }
      at = at->parent_.lock();
    }
    return value;
  }

  // The steps of loading that both classes share.
  void loadIdentity(const std::shared_ptr<Definition>& parent, QVTransport transport,
                    const TaggedChildren& type);
  void loadInstances(const std::shared_ptr<Definition>& parent, const TaggedChildren& ip,
                     const TaggedChildren& btle);

 private:
  friend class FamilyArchive<Definition>;
  friend class IndexedDefinitions;

  const Definition& self() const { return static_cast<const Definition&>(*this); }
  std::shared_ptr<Definition> familyHandle(const std::shared_ptr<Definition>& instance) const;
  std::shared_ptr<Definition> withoutFamilyHandle(std::shared_ptr<Definition> instance) const;
  void replace(std::shared_ptr<Definition>& slot, std::shared_ptr<Definition> instance);
  bool isFamilyHandle(const std::shared_ptr<Definition>& instance) const;
  std::shared_ptr<Definition> loadInstance(const TaggedChildren& children, QVTransport transport);
  void validateTransport() const;

  std::optional<std::string> name_;
  std::optional<std::string> uuid_;
  std::optional<std::string> uti_;
  QVTransport transport_ = QVTransport::none;
  std::weak_ptr<Definition> parent_;
  std::shared_ptr<Definition> ip_;
  std::shared_ptr<Definition> btle_;
  std::unique_ptr<std::vector<std::shared_ptr<Definition>>> replaced_;  // null until there is one
};

}  // namespace qv
