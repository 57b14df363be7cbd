#include "tools/qvcheck/attribute_names.h"

#include <fmt/format.h>

#include <charconv>
#include <system_error>

#include "qvparsersupport/ipmessages/json_message.h"

namespace qv::check {

namespace {

std::string nameOf(const std::shared_ptr<QVIPUUIDTypeString>& type) {
  if (type == nullptr) return {};
  if (type->name()) return *type->name();
  constexpr std::size_t kLongestType = 36;
  const std::string text = type->type().value_or("");
  return "type " + (text.size() <= kLongestType ? text : "?");
}

}  // namespace

void AttributeNames::learn(const QVIPMessage* message) {
  const auto* response =
      dynamic_cast<const QVIPAccessoryAttributeDatabaseResponseMessage*>(message);
  if (response == nullptr || !response->cachedJSONPayload()) return;
  known_.clear();
  const auto accessories = response->attributeDatabaseObject()->accessoriesValue();
  if (!accessories) return;
  for (const auto& accessory : *accessories) {
    const auto aid = accessory->aidValue();
    const auto services = accessory->servicesValue();
    if (!aid || !services) continue;
    for (const auto& service : *services) {
      const auto characteristics = service->characteristicsValue();
      if (!characteristics) continue;
      const std::string serviceName = nameOf(service->typeValue());
      for (const auto& characteristic : *characteristics) {
        const auto iid = characteristic->iidValue();
        if (!iid) continue;
        KnownCharacteristic known{nameOf(characteristic->typeValue()), characteristic->definition(),
                                  characteristic->transformer()};
        if (!serviceName.empty()) known.name += fmt::format(" ({})", serviceName);
        known_.try_emplace({aid->uint64Value(), iid->uint64Value()}, std::move(known));
      }
    }
  }
}

const KnownCharacteristic* AttributeNames::find(std::string_view aid, std::string_view iid) const {
  std::uint64_t ids[2] = {};
  const std::string_view texts[2] = {aid, iid};
  for (std::size_t i = 0; i < 2; ++i) {
    const char* const end = texts[i].data() + texts[i].size();
    const auto [stop, error] = std::from_chars(texts[i].data(), end, ids[i]);
    if (error != std::errc() || stop != end) return nullptr;
  }
  return find(ids[0], ids[1]);
}

const KnownCharacteristic* AttributeNames::find(std::uint64_t aid, std::uint64_t iid) const {
  const auto place = known_.find({aid, iid});
  return place == known_.end() ? nullptr : &place->second;
}

}  // namespace qv::check
