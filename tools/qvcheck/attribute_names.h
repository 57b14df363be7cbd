#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "qvparsersupport/ipmessages/ip_message.h"
#include "qvparsersupport/json/attribute_database_objects.h"

namespace qv::check {

// What the last attribute database of a connection says about one characteristic.
struct KnownCharacteristic {
  std::string name;  // with its service, "Brightness (Lightbulb)"
  std::shared_ptr<const QVCharacteristicXMLObject> definition;  // null when no profile knows it
  std::shared_ptr<const QVTransformer> transformer;
};

// Names for the ids that reads, writes and events give.
class AttributeNames {
 public:
  // From a message that carries an attribute database, forgets what was and takes everything that
  // has ids; does nothing with others.
  void learn(const QVIPMessage* message);
  // Null when the database has no such characteristic.
  const KnownCharacteristic* find(std::uint64_t aid, std::uint64_t iid) const;
  // The same for ids given as decimal digits.
  const KnownCharacteristic* find(std::string_view aid, std::string_view iid) const;

 private:
  std::map<std::pair<std::uint64_t, std::uint64_t>, KnownCharacteristic> known_;
};

}  // namespace qv::check
