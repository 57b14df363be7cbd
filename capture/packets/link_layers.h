#pragma once

#include <cstdint>

#include "capture/packets/packet_layer.h"

namespace qv::capture {

// Takes the link layer off a packet and leaves the IP packet. Knows Ethernet with any number of
// VLAN tags, the two "cooked" forms of Linux, the loopback forms of the BSDs and raw IP.
LayerResult readLinkLayer(std::uint32_t linkType, LayerBytes& packet);

}  // namespace qv::capture
