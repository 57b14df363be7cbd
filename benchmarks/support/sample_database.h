#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "benchmarks/support/require.h"

namespace qv::bench {

// A small attribute database in which each fault below can be planted.
inline constexpr std::string_view kSmallDatabase =
    R"({"accessories":[{"aid":1,"services":[{"type":"3E","iid":1,"hidden":false,"characteristics":[)"
    R"({"type":"F0000025-0000-1000-8000-0A3F5C91D270","iid":2,"perms":["pr","ev"],"ev":true,)"
    R"("format":"bool","value":true},)"
    R"({"type":"99999999","iid":3,"perms":["pr"],"format":"float","unit":"lux","minValue":0,)"
    R"("description":"Light","value":0.5}]}]}]})";

struct PlantedFault {
  std::string_view of;
  std::string_view with;
};
inline constexpr PlantedFault kDatabaseFaults[] = {
    {R"({"accessories":[)", R"({"accessory":[)"},
    {R"("aid":1)", R"("aid":"1")"},
    {R"("services":)", R"("service":)"},
    {R"("type":"3E")", R"("type":"00000000000000003E")"},
    {R"("hidden":false)", R"("hidden":2)"},
    {R"("iid":2,)", ""},
    {R"("perms":["pr","ev"])", R"("perms":["pr","EV"])"},
    {R"("format":"bool")", R"("format":"Bool")"},
    {R"("value":true)", R"("value":"true")"},
    {R"("unit":"lux")", R"("unit":"Lux")"},
    {R"("minValue":0)", R"("minValue":"0")"},
    {R"("description":"Light")", R"("description":5)"},
    {R"("value":0.5)", R"("value":"0.5")"},
    {R"(]}]}]})", R"(]}]})"},
};

// Ends the program unless the database is accepted and refused with each of the faults.
inline void checkDatabaseChecker(const std::function<bool(std::string_view)>& accepts) {
  require(accepts(kSmallDatabase), "a sound database is accepted");
  for (const PlantedFault& fault : kDatabaseFaults) {
    std::string text(kSmallDatabase);
    const std::size_t place = text.find(fault.of);
    require(place != std::string::npos, fault.of);
    text.replace(place, fault.of.size(), fault.with);
    require(!accepts(text), text);
  }
}

}  // namespace qv::bench
