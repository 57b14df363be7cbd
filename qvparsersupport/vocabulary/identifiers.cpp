#include "qvparsersupport/vocabulary/identifiers.h"

namespace qv {

QVIdentifier::~QVIdentifier() = default;

std::shared_ptr<QVUniformTypeIdentifier> QVUniformTypeIdentifier::identifierWithUTI(
    std::optional<std::string> uti) {
  auto identifier = std::make_shared<QVUniformTypeIdentifier>();
  identifier->setUti(std::move(uti));
  return identifier;
}

std::shared_ptr<QVUniversallyUniqueIdentifier>
QVUniversallyUniqueIdentifier::identifierWithUUIDString(std::optional<std::string> uuidString) {
  auto identifier = std::make_shared<QVUniversallyUniqueIdentifier>();
  identifier->setUuidString(std::move(uuidString));
  return identifier;
}

}  // namespace qv
