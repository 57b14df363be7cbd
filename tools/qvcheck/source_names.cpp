#include "tools/qvcheck/source_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace qv::check {

namespace {

// Sorted. Alternative tokens and what C++20 added included, `std` because it would hide the
// library's.
constexpr std::array<std::string_view, 93> kKeywords = {
    "alignas",       "alignof",      "and",
    "and_eq",        "asm",          "auto",
    "bitand",        "bitor",        "bool",
    "break",         "case",         "catch",
    "char",          "char16_t",     "char32_t",
    "char8_t",       "class",        "co_await",
    "co_return",     "co_yield",     "compl",
    "concept",       "const",        "const_cast",
    "consteval",     "constexpr",    "constinit",
    "continue",      "decltype",     "default",
    "delete",        "do",           "double",
    "dynamic_cast",  "else",         "enum",
    "explicit",      "export",       "extern",
    "false",         "float",        "for",
    "friend",        "goto",         "if",
    "inline",        "int",          "long",
    "mutable",       "namespace",    "new",
    "noexcept",      "not",          "not_eq",
    "nullptr",       "operator",     "or",
    "or_eq",         "private",      "protected",
    "public",        "register",     "reinterpret_cast",
    "requires",      "return",       "short",
    "signed",        "sizeof",       "static",
    "static_assert", "static_cast",  "std",
    "struct",        "switch",       "template",
    "this",          "thread_local", "throw",
    "true",          "try",          "typedef",
    "typeid",        "typename",     "union",
    "unsigned",      "using",        "virtual",
    "void",          "volatile",     "wchar_t",
    "while",         "xor",          "xor_eq"};

// Macros that a program is likely to have by including standard headers, or from its compiler.
constexpr std::string_view kMacros[] = {"BUFSIZ",   "EOF",   "FALSE",  "FILENAME_MAX", "HUGE_VAL",
                                        "INFINITY", "NAN",   "NULL",   "TRUE",         "WEOF",
                                        "assert",   "errno", "i386",   "linux",        "setjmp",
                                        "stderr",   "stdin", "stdout", "unix"};

bool isLetterOrDigit(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// INT8_MAX, UINT64_C, CHAR_BIT and their like.
bool isLimitMacro(std::string_view name) {
  constexpr std::string_view kEnds[] = {"_MAX", "_MIN", "_C", "_BIT", "_WIDTH"};
  const bool ends = std::any_of(std::begin(kEnds), std::end(kEnds),
                                [&](std::string_view end) { return name.ends_with(end); });
  return ends &&
         std::none_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

bool isMacro(std::string_view name) {
  return std::find(std::begin(kMacros), std::end(kMacros), name) != std::end(kMacros) ||
         isLimitMacro(name);
}

bool isKeyword(std::string_view name) {
  return std::binary_search(kKeywords.begin(), kKeywords.end(), name);
}

// Everything foreign becomes an underscore, of which never two stand together and none in front.
std::string withoutForeign(std::string_view symbol) {
  std::string name;
  for (const char c : symbol) {
    if (isLetterOrDigit(c)) {
      name += c;
    } else if (!name.empty() && name.back() != '_') {
      name += '_';
    }
  }
  return name;
}

}  // namespace

SourceName NameScope::take(std::string_view symbol) {
  SourceName name{withoutForeign(symbol), ""};
  if (name.identifier != symbol) name.reason = "is no usable identifier";
  if (name.identifier.empty()) {
    name.identifier = "Unnamed";
  } else if (isDigit(name.identifier.front())) {
    name.identifier.insert(0, "N");
    name.reason = "begins with a digit";
  }
  if (isKeyword(name.identifier) || isMacro(name.identifier)) {
    name.reason = isKeyword(name.identifier) ? "is a keyword" : "may be a macro";
    name.identifier += '_';
  }
  if (taken_.contains(name.identifier)) {
    std::size_t& number = numbers_[name.identifier];
    if (number == 0) number = 1;
    const std::string stem = name.identifier + (name.identifier.ends_with('_') ? "" : "_");
    do {
      name.identifier = stem + std::to_string(++number);
    } while (taken_.contains(name.identifier));
    name.reason = "is taken";
  }
  taken_.insert(name.identifier);
  return name;
}

bool isNamespaceName(std::string_view text) {
  for (;;) {
    const std::size_t end = text.find("::");
    const std::string part(text.substr(0, end));
    if (NameScope().take(part).identifier != part) return false;
    if (end == std::string_view::npos) return true;
    text.remove_prefix(end + 2);
  }
}

std::string stringLiteral(std::string_view text) {
  std::string literal = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\' || c == '?') {
      literal += '\\';  // "?" because two of them begin a trigraph
      literal += c;
    } else if (c >= 0x20 && c < 0x7F) {
      literal += c;
    } else {
      fmt::format_to(std::back_inserter(literal), "\\{:03o}", static_cast<unsigned char>(c));
    }
  }
  return literal + '"';
}

std::string viewInitializer(std::string_view text) {
  std::string literal = stringLiteral(text);
  if (text.find('\0') == std::string_view::npos) return literal;
  return fmt::format("{{{}, {}}}", literal, text.size());
}

}  // namespace qv::check
