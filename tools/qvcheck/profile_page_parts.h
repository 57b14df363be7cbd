#pragma once

// Internal to the page of a profile: its parts, each an HTML text.

#include <string>

#include "tools/qvcheck/profile_index.h"

namespace qv::check {

std::string servicesPart(const QVSymbolTable& table, const ProfileIndex& index);
std::string characteristicsPart(const QVSymbolTable& table, const ProfileIndex& index);
std::string structuresPart(const QVSymbolTable& table, const ProfileIndex& index);
std::string enumsPart(const QVSymbolTable& table, const ProfileIndex& index);

std::string pageStyle();
std::string pageScript();

// What the parts have in common.

// A section of the page with its definitions; says so when there are none.
std::string section(const char* id, const char* title, const std::string& content);
// The start of one definition's card.
std::string cardStart(const std::string& anchor, const std::string& name, const std::string& aside);
inline const char* const kCardEnd = "</article>\n";
std::string linkTo(const std::string& anchor, const std::string& name);
// Who uses the definition, or `unused` when nobody does.
std::string usesList(const ProfileIndex& index, const void* definition, const char* unused);
// One row of a table of facts; nothing when the value is empty. Both are HTML.
std::string factRow(const std::string& label, const std::string& value);
// The short form of a UUID of the protocol, empty for others; and it beside the full form.
std::string shortUUIDText(const std::optional<std::string>& uuid);
// The short form, or else the UUID as it is; says so when there is none.
std::string briefUUIDText(const std::optional<std::string>& uuid);
std::string uuidText(const std::optional<std::string>& uuid);
// May be broken after each dot.
std::string utiText(const std::optional<std::string>& uti);
std::string chip(const std::string& text, const char* kind = "");

}  // namespace qv::check
