#pragma once

#include <optional>
#include <string>

namespace qv::check {

// For a request that no class recognises: the recognised one that comes nearest and what differs;
// empty when nothing comes near.
std::string nearestClass(const std::optional<std::string>& method,
                         const std::optional<std::string>& url);

}  // namespace qv::check
