#pragma once

#include <span>
#include <string_view>

#include "qvparsersupport/ipmessages/message_rules.h"

namespace qv::check {

// The rules that the tool checks by itself, sorted by id. They say no more of their texts than the
// explanation does.
std::span<const QVRule> toolRules();

// A rule of the library or of the tool; null when there is none.
const QVRule* anyRuleWithID(std::string_view id);

// The tool's answer to a load that was refused for this reason.
std::string_view ruleOfRefusal(std::string_view reason);

}  // namespace qv::check
