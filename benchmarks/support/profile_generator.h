#pragma once

#include <cstddef>
#include <string>

namespace qv::bench {

// A profile with that many characteristics, each with an IP and a BLE instance, and enums, TLV8s
// and services in proportion. The same count always gives the same text.
std::string generatedProfile(std::size_t characteristics);

// The UUID of one of its characteristics on IP, in lower case.
std::string generatedUUID(std::size_t index);
// The UUID of one of its services, in lower case; there is one for every ten characteristics.
std::string generatedServiceUUID(std::size_t index);

}  // namespace qv::bench
