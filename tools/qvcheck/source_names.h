#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace qv::check {

// A name for generated C++, and what is to be said when it is not the one that was asked for.
struct SourceName {
  std::string identifier;
  std::string reason;  // "is a keyword", for one; empty when nothing was changed
};

// The names of one C++ scope. Every answer is an identifier that is valid since C++17, is none of
// the implementation's own names, of the keywords up to C++20 and of the macros of the standard
// headers, and was not answered before.
class NameScope {
 public:
  NameScope() = default;
  // `taken` are names that stand in the scope already.
  explicit NameScope(std::set<std::string, std::less<>> taken) : taken_(std::move(taken)) {}

  SourceName take(std::string_view symbol);

 private:
  std::set<std::string, std::less<>> taken_;
  std::map<std::string, std::size_t, std::less<>> numbers_;  // the last one given to each
};

// True for a namespace as it can be written after the keyword, parts joined by "::".
bool isNamespaceName(std::string_view text);

// The text as a C++ string literal of one line: what is not plain is written as octal bytes.
std::string stringLiteral(std::string_view text);
// What initialises a std::string_view with the whole text, U+0000 in it included.
std::string viewInitializer(std::string_view text);

}  // namespace qv::check
