#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "qvparsersupport/common/xml_tree.h"

namespace qv::test {

// The document that the text makes; a text that is refused ends the test program with the reason,
// so that a broken fixture never looks like a passing test.
std::shared_ptr<const XMLDocument> documentFrom(std::string_view text,
                                                std::string name = "test.xml");

// The root element of the document that the text makes.
std::shared_ptr<const XMLElement> elementFrom(std::string_view text);

// A whole profile around the contents of the four sections.
std::string profileText(std::string_view enums, std::string_view tlv8s,
                        std::string_view characteristics, std::string_view services);

// The profile that the cases of rules/loads.txt stand in: an enum 'E', a characteristic 'A' and a
// service 'S' with both instances, and behind them the fragment in the named section. For the
// section "profile" the fragment is the whole.
std::string profileWithFragment(const std::string& section, const std::string& xml);

}  // namespace qv::test
