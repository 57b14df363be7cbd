// Services and characteristics: what may differ by transport.

#include <fmt/format.h>

#include <functional>
#include <iterator>

#include "qvparsersupport/vocabulary/format_strings.h"
#include "tools/qvcheck/html.h"
#include "tools/qvcheck/profile_page_parts.h"
#include "tools/qvcheck/report_texts.h"

namespace qv::check {

namespace {

std::string textOf(const std::optional<std::string>& name) {
  return name.value_or("");
}

std::string formatText(const QVCharacteristicXMLObject& characteristic) {
  const auto name = QVFormatStrings::stringForFormatType(characteristic.format());
  return name ? fmt::format("<code>{}</code>", *name) : "";
}

std::string rangeText(const QVCharacteristicXMLObject& characteristic) {
  const auto minimum = characteristic.minValue();
  const auto maximum = characteristic.maxValue();
  std::string text;
  if (minimum && maximum) {
    text = minimum->text() + " to " + maximum->text();
  } else if (minimum) {
    text = "at least " + minimum->text();
  } else if (maximum) {
    text = "at most " + maximum->text();
  }
  return text;
}

// The limits with their unit and, in short, what else a value must be.
std::string valuesText(const QVCharacteristicXMLObject& characteristic) {
  std::string text = rangeText(characteristic);
  const auto add = [&text](const char* separator, const std::string& more) {
    if (!more.empty()) text += (text.empty() ? "" : separator) + more;
  };
  add(" ", html(textOf(characteristic.unit())));
  if (const auto values = characteristic.enumDefinition()) {
    const std::size_t count = itemsOf(values->values()).size();
    add(", ", values->isBitmask() ? "bitmask of " + counted(count, "bit")
                                  : "enum of " + counted(count, "value"));
  }
  return text;
}

std::string permissionsText(const QVCharacteristicXMLObject& characteristic) {
  std::string text;
  for (const auto& property : itemsOf(characteristic.properties())) {
    text += (text.empty() ? "" : " ") + chip(html(textOf(property->name())));
  }
  return text;
}

// What a card tells of a characteristic, one row each. A null read is left out.
struct Fact {
  const char* label;
  std::function<std::string(const QVCharacteristicXMLObject&, const ProfileIndex&)> read;
};

const std::vector<Fact>& facts() {
  using Characteristic = QVCharacteristicXMLObject;
  static const std::vector<Fact> kFacts = {
      {"UUID", [](const Characteristic& c, const ProfileIndex&) { return uuidText(c.uuid()); }},
      {"UTI", [](const Characteristic& c, const ProfileIndex&) { return utiText(c.uti()); }},
      {"Format", [](const Characteristic& c, const ProfileIndex&) { return formatText(c); }},
      {"Range", [](const Characteristic& c, const ProfileIndex&) { return rangeText(c); }},
      {"Step",
       [](const Characteristic& c, const ProfileIndex&) {
         const auto step = c.step();
         return step ? step->text() : "";
       }},
      {"Unit", [](const Characteristic& c, const ProfileIndex&) { return html(textOf(c.unit())); }},
      {"Permissions",
       [](const Characteristic& c, const ProfileIndex&) { return permissionsText(c); }},
      {"Maximum length",
       [](const Characteristic& c, const ProfileIndex&) {
         const auto& length = c.maximumLength();
         return length ? length->text() + " bytes" : "";
       }},
      {"Values",
       [](const Characteristic& c, const ProfileIndex& index) {
         const auto values = c.enumDefinition();
         return values ? linkTo(index.anchorOf(values.get()), textOf(values->name())) : "";
       }},
      {"Structure",
       [](const Characteristic& c, const ProfileIndex& index) {
         const auto structure = c.tlv8Definition();
         return structure ? linkTo(index.anchorOf(structure.get()), textOf(structure->name())) : "";
       }},
  };
  return kFacts;
}

// One column where the transports agree, two where they do not.
std::string factsTable(const QVCharacteristicXMLObject& parent, const ProfileIndex& index) {
  const auto ip = parent.ip();
  const auto btle = parent.btle();
  const bool both = ip != nullptr && btle != nullptr;
  std::string rows;
  bool differs = false;
  for (const Fact& fact : facts()) {
    const QVCharacteristicXMLObject& first = ip != nullptr ? *ip : btle != nullptr ? *btle : parent;
    const std::string one = fact.read(first, index);
    const std::string two = both ? fact.read(*btle, index) : one;
    if (one.empty() && two.empty()) continue;
    fmt::format_to(std::back_inserter(rows), "<tr><th scope=\"row\">{}</th>", fact.label);
    if (one == two) {
      fmt::format_to(std::back_inserter(rows), "<td{}>{}</td></tr>\n", both ? " colspan=\"2\"" : "",
                     one);
      continue;
    }
    differs = true;
    const std::string none = "<span class=\"quiet\">none</span>";
    fmt::format_to(std::back_inserter(rows),
                   "<td class=\"ip\">{}</td><td class=\"btle\">{}</td></tr>\n",
                   one.empty() ? none : one, two.empty() ? none : two);
  }
  const std::string head = differs ? "<thead><tr><td></td><th scope=\"col\">IP</th><th "
                                     "scope=\"col\">BTLE</th></tr></thead>\n"
                                   : "";
  return "<div class=\"wide\"><table class=\"facts\">\n" + head + "<tbody>\n" + rows +
         "</tbody></table></div>\n";
}

template <class Family>
std::string transportChips(const Family& parent) {
  std::string chips;
  if (parent.ip() != nullptr) chips += chip("IP", "ip");
  if (parent.btle() != nullptr) chips += (chips.empty() ? "" : " ") + chip("BTLE", "btle");
  return chips.empty() ? chip("no transport", "none") : chips;
}

// How each transport of a service lists one characteristic.
struct Listing {
  const QVCharacteristicXMLObject* characteristic;
  std::string ip;
  std::string btle;
};

std::vector<Listing> listingsOf(const QVServiceXMLObject& service) {
  std::vector<Listing> listings;
  std::map<const void*, std::size_t> places;
  const auto add = [&](const std::shared_ptr<QVServiceXMLObject>& instance,
                       std::string Listing::*transport) {
    if (instance == nullptr) return;
    const auto addList = [&](const DefinitionList<QVCharacteristicXMLObject>& list,
                             const char* how) {
      for (const auto& characteristic : itemsOf(list)) {
        const QVCharacteristicXMLObject* const entry = pageEntryOf(*characteristic);
        const auto [place, isNew] = places.emplace(entry, listings.size());
        if (isNew) listings.push_back({entry, "", ""});
        std::string& cell = listings[place->second].*transport;
        cell += (cell.empty() ? "" : " ") + chip(how, how);
      }
    };
    addList(instance->required(), "required");
    addList(instance->optional(), "optional");
  };
  add(service.ip(), &Listing::ip);
  add(service.btle(), &Listing::btle);
  return listings;
}

std::string listingTable(const QVServiceXMLObject& service, const ProfileIndex& index) {
  const std::vector<Listing> listings = listingsOf(service);
  if (listings.empty()) return "<p class=\"quiet\">It lists no characteristics.</p>\n";
  const bool ip = service.ip() != nullptr;
  const bool btle = service.btle() != nullptr;
  const std::string none = "<span class=\"quiet\">not listed</span>";
  std::string text =
      "<div class=\"wide\"><table class=\"list listing\">\n<thead><tr><th scope=\"col\">"
      "Characteristic</th>";
  if (ip) text += "<th scope=\"col\">IP</th>";
  if (btle) text += "<th scope=\"col\">BTLE</th>";
  text += "</tr></thead>\n<tbody>\n";
  for (const Listing& row : listings) {
    fmt::format_to(std::back_inserter(text), "<tr><th scope=\"row\">{}</th>",
                   linkTo(index.anchorOf(row.characteristic), textOf(row.characteristic->name())));
    if (ip) fmt::format_to(std::back_inserter(text), "<td>{}</td>", row.ip.empty() ? none : row.ip);
    if (btle) {
      fmt::format_to(std::back_inserter(text), "<td>{}</td>", row.btle.empty() ? none : row.btle);
    }
    text += "</tr>\n";
  }
  return text + "</tbody></table></div>\n";
}

// The identity of a service; per transport where it differs.
std::string identityTable(const QVServiceXMLObject& service) {
  const auto ip = service.ip();
  const auto btle = service.btle();
  const QVServiceXMLObject& first = ip != nullptr ? *ip : btle != nullptr ? *btle : service;
  std::string rows = factRow("UUID", uuidText(first.uuid())) + factRow("UTI", utiText(first.uti()));
  if (ip != nullptr && btle != nullptr) {
    if (btle->uuid() != ip->uuid()) rows += factRow("UUID over BTLE", uuidText(btle->uuid()));
    if (btle->uti() != ip->uti()) rows += factRow("UTI over BTLE", utiText(btle->uti()));
  }
  if (rows.empty()) return "";
  return "<div class=\"wide\"><table class=\"facts\"><tbody>\n" + rows + "</tbody></table></div>\n";
}

std::string glanceTable(const QVSymbolTable& table, const ProfileIndex& index) {
  std::string rows;
  for (const auto& parent : itemsOf(table.characteristics())) {
    const auto ip = parent->ip();
    const auto btle = parent->btle();
    const QVCharacteristicXMLObject& shown = ip != nullptr     ? *ip
                                             : btle != nullptr ? *btle
                                                               : *parent;
    const std::string anchor = index.anchorOf(parent.get());
    fmt::format_to(std::back_inserter(rows),
                   "<tr data-for=\"{}\"><th scope=\"row\">{}</th><td>{}</td><td>{}</td><td>{}</td>"
                   "<td>{}</td><td>{}</td></tr>\n",
                   anchor, linkTo(anchor, textOf(parent->name())), briefUUIDText(shown.uuid()),
                   formatText(shown), valuesText(shown), permissionsText(shown),
                   transportChips(*parent));
  }
  return "<div class=\"wide index\"><table class=\"list glance\">\n<thead><tr><th "
         "scope=\"col\">Name"
         "</th><th scope=\"col\">UUID</th><th scope=\"col\">Format</th><th scope=\"col\">Range</th>"
         "<th scope=\"col\">Permissions</th><th scope=\"col\">Transports</th></tr></thead>\n"
         "<tbody>\n" +
         rows + "</tbody></table></div>\n";
}

}  // namespace

std::string servicesPart(const QVSymbolTable& table, const ProfileIndex& index) {
  std::string cards;
  for (const auto& service : itemsOf(table.services())) {
    cards += cardStart(index.anchorOf(service.get()), textOf(service->name()),
                       "<p class=\"chips\">" + transportChips(*service) + "</p>\n") +
             identityTable(*service) + listingTable(*service, index) + kCardEnd;
  }
  return section("services", "Services", cards);
}

std::string characteristicsPart(const QVSymbolTable& table, const ProfileIndex& index) {
  std::string cards;
  for (const auto& parent : itemsOf(table.characteristics())) {
    cards += cardStart(index.anchorOf(parent.get()), textOf(parent->name()),
                       "<p class=\"chips\">" + transportChips(*parent) + "</p>\n") +
             factsTable(*parent, index) + usesList(index, parent.get(), "No service lists it.") +
             kCardEnd;
  }
  return section("characteristics", "Characteristics",
                 cards.empty() ? "" : glanceTable(table, index) + cards);
}

}  // namespace qv::check
