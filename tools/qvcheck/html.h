#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace qv::check {

// Foreign text as HTML text or attribute value: escaped like everywhere else, then for HTML.
std::string html(std::string_view text);

// Gives out ids for the elements of one page: readable, valid and never one twice.
class Anchors {
 public:
  std::string take(std::string_view prefix, std::string_view name);

 private:
  std::set<std::string, std::less<>> taken_;
  std::map<std::string, std::size_t, std::less<>> numbers_;  // the last one given to each
};

}  // namespace qv::check
