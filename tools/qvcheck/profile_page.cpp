#include "tools/qvcheck/profile_page.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

#include "qvparsersupport/vocabulary/types.h"
#include "tools/qvcheck/html.h"
#include "tools/qvcheck/profile_page_parts.h"

namespace qv::check {

namespace {

struct Section {
  const char* id;
  const char* title;
  std::size_t count;
  std::string contents;  // links to its definitions
};

template <class Definition>
Section sectionOf(const char* id, const char* title, const DefinitionList<Definition>& list,
                  const ProfileIndex& index) {
  Section section{id, title, itemsOf(list).size(), ""};
  for (const auto& definition : itemsOf(list)) {
    const std::string anchor = index.anchorOf(definition.get());
    section.contents += fmt::format("<li data-for=\"{}\">{}</li>\n", anchor,
                                    linkTo(anchor, definition->name().value_or("(no name)")));
  }
  return section;
}

std::string navigation(const std::vector<Section>& sections) {
  std::string bar;
  std::string lists;
  for (const Section& section : sections) {
    fmt::format_to(std::back_inserter(bar), "<a href=\"#{}\">{}</a>\n", section.id, section.title);
    if (section.count == 0) continue;
    fmt::format_to(std::back_inserter(lists), "<h2><a href=\"#{}\">{}</a></h2>\n<ul>\n{}</ul>\n",
                   section.id, section.title, section.contents);
  }
  return "<header class=\"bar\">\n<a class=\"skip\" href=\"#content\">Skip to the content</a>\n"
         "<nav class=\"sections\" aria-label=\"Sections\">\n" +
         bar +
         "</nav>\n<search id=\"search\" hidden><input id=\"query\" type=\"search\" "
         "placeholder=\"Search\" aria-label=\"Search names, UUIDs and symbols; the key / leads "
         "here\" autocomplete=\"off\"><output id=\"found\" for=\"query\"></output></search>\n"
         "</header>\n<nav class=\"side\" aria-label=\"Contents\">\n" +
         lists + "</nav>\n";
}

std::string overview(const std::vector<std::string>& sources,
                     const std::vector<Section>& sections) {
  std::string names;
  for (const std::string& source : sources) {
    names += (names.empty() ? "" : ", ") + fmt::format("<code>{}</code>", html(source));
  }
  std::string tiles;
  for (const Section& section : sections) {
    fmt::format_to(std::back_inserter(tiles), "<a href=\"#{}\"><b>{}</b> {}</a>\n", section.id,
                   section.count, section.title);
  }
  return "<h1>Profile reference</h1>\n<p class=\"lead\">What " + names +
         (sources.size() == 1 ? " defines.</p>\n" : " define together.</p>\n") +
         "<div class=\"tiles\">\n" + tiles + "</div>\n";
}

}  // namespace

std::string section(const char* id, const char* title, const std::string& content) {
  return fmt::format(
      "<section id=\"{0}\" aria-labelledby=\"{0}-title\">\n"
      "<h2 id=\"{0}-title\">{1}</h2>\n{2}</section>\n",
      id, title, content.empty() ? "<p class=\"quiet\">The profile defines none.</p>\n" : content);
}

std::string cardStart(const std::string& anchor, const std::string& name,
                      const std::string& aside) {
  return fmt::format(
      "<article class=\"card\" id=\"{0}\">\n<h3>{1} <a class=\"self\" href=\"#{0}\" "
      "aria-label=\"Link to {1}\">#</a></h3>\n{2}",
      anchor, html(name), aside);
}

std::string linkTo(const std::string& anchor, const std::string& name) {
  if (anchor.empty()) return html(name);
  return fmt::format("<a href=\"#{}\">{}</a>", anchor, html(name));
}

std::string usesList(const ProfileIndex& index, const void* definition, const char* unused) {
  const std::vector<DefinitionUse>& uses = index.usesOf(definition);
  if (uses.empty()) return fmt::format("<p class=\"used quiet\">{}</p>\n", unused);
  std::string items;
  for (const DefinitionUse& use : uses) {
    fmt::format_to(std::back_inserter(items), "<li>{}{}</li>\n", linkTo(use.anchor, use.name),
                   use.how.empty() ? "" : " <span class=\"quiet\">" + html(use.how) + "</span>");
  }
  return "<div class=\"used\"><h4>Used by</h4>\n<ul>\n" + items + "</ul></div>\n";
}

std::string factRow(const std::string& label, const std::string& value) {
  if (value.empty()) return "";
  return fmt::format("<tr><th scope=\"row\">{}</th><td>{}</td></tr>\n", label, value);
}

std::string shortUUIDText(const std::optional<std::string>& uuid) {
  const auto full = QVTypes::fullVELUUIDFromShortUUID(uuid);
  if (!full || !QVTypes::hasVELUUIDPrefix(full)) return "";
  std::string brief = full->substr(0, full->find('-'));
  brief.erase(0, std::min(brief.find_first_not_of('0'), brief.size() - 1));
  return fmt::format("<code class=\"short\">{}</code>", html(brief));
}

std::string briefUUIDText(const std::optional<std::string>& uuid) {
  if (!uuid) return "<span class=\"quiet\">none</span>";
  const std::string brief = shortUUIDText(uuid);
  return brief.empty() ? fmt::format("<code class=\"uuid\">{}</code>", html(*uuid)) : brief;
}

std::string uuidText(const std::optional<std::string>& uuid) {
  if (!uuid) return "";
  const auto full = QVTypes::fullVELUUIDFromShortUUID(uuid);
  if (!full) return fmt::format("<code>{}</code>", html(*uuid));
  const std::string brief = shortUUIDText(uuid);
  return fmt::format("{}{}<code class=\"uuid\">{}</code>", brief, brief.empty() ? "" : " ",
                     html(*full));
}

std::string utiText(const std::optional<std::string>& uti) {
  if (!uti) return "";
  std::string text = html(*uti);
  constexpr std::string_view kBreak = "<wbr>";
  for (std::size_t at = 0; (at = text.find('.', at)) != std::string::npos; at += kBreak.size()) {
    text.insert(++at, kBreak);
  }
  return "<code>" + text + "</code>";
}

std::string chip(const std::string& text, const char* kind) {
  return fmt::format("<span class=\"chip {}\">{}</span>", kind, text);
}

std::string profilePage(const std::vector<std::string>& sources) {
  const QVSymbolTable& table = QVSymbolTable::sharedSymbolTable();
  const ProfileIndex index(table);
  const std::vector<Section> sections = {
      sectionOf("services", "Services", table.services(), index),
      sectionOf("characteristics", "Characteristics", table.characteristics(), index),
      sectionOf("structures", "Structures", table.tlv8s(), index),
      sectionOf("enums", "Enums", table.enums(), index),
  };
  std::string title;
  for (const std::string& source : sources) title += (title.empty() ? "" : ", ") + html(source);
  return "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
         "<meta name=\"color-scheme\" content=\"light dark\">\n<title>" +
         title + " - profile reference</title>\n<style>\n" + pageStyle() +
         "</style>\n</head>\n<body>\n" + navigation(sections) + "<main id=\"content\">\n" +
         overview(sources, sections) + servicesPart(table, index) +
         characteristicsPart(table, index) + structuresPart(table, index) +
         enumsPart(table, index) +
         "<p id=\"nothing\" class=\"quiet\" hidden>Nothing on this page matches.</p>\n</main>\n"
         "<script>\n" +
         pageScript() + "</script>\n</body>\n</html>\n";
}

}  // namespace qv::check
