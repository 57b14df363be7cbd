// Lookups against the rules written down a second time as plain scans, over tables whose keys
// collide in every way, and their answers inside and outside a load.

#include <fmt/format.h>

#include <functional>
#include <random>
#include <sstream>

#include "qvparsersupport/common/utf8.h"
#include "tests/support/expectations.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using Characteristic = QVCharacteristicXMLObject;
using Service = QVServiceXMLObject;
using Text = std::optional<std::string>;

template <class Definition>
using Definitions = std::vector<std::shared_ptr<Definition>>;

template <class Definition, class Match>
std::shared_ptr<Definition> firstOf(const DefinitionList<Definition>& list, Match matches) {
  if (list == nullptr) return nullptr;
  for (const auto& each : *list) {
    if (each != nullptr && matches(*each)) return each;
  }
  return nullptr;
}

const std::vector<std::string> kTexts = {
    "", "a", "A", "b", "Ab", "aB", "zz", "\xC3\x89", "\xC3\xA9", "\xE2\x84\xAA", "k", "K"};

// Families and lists as a profile makes them or, when `isOdd`, as no profile would.
struct Generator {
  std::mt19937 random;
  bool isOdd;

  std::size_t below(std::size_t limit) { return random() % limit; }
  bool chance(unsigned percent) { return below(100) < percent; }
  bool oddity() { return isOdd && chance(20); }
  Text text() { return chance(40) ? Text() : kTexts[below(kTexts.size())]; }

  template <class Definition>
  void fill(Definition& definition) {
    definition.setName(text());
    definition.setUti(text());
    definition.setUuid(text());
  }

  template <class Definition>
  std::shared_ptr<Definition> family() {
    auto parent = std::make_shared<Definition>();
    fill(*parent);
    for (const auto transport : {QVTransport::ip, QVTransport::btle}) {
      if (chance(30)) continue;
      auto instance = std::make_shared<Definition>();
      fill(*instance);
      instance->setTransport(oddity() ? QVTransport{4} : transport);
      if (!oddity()) instance->setParent(parent);
      transport == QVTransport::ip ? parent->setIp(instance) : parent->setBtle(instance);
    }
    if (oddity()) parent->setParent(parent->ip());  // leads back
    return parent;
  }

  template <class Definition>
  auto families() {
    const auto list = std::make_shared<Definitions<Definition>>();
    for (std::size_t count = below(12); count > 0; --count) {
      list->push_back(oddity() ? nullptr : family<Definition>());
      if (chance(10)) list->push_back(list->back());
    }
    return list;
  }

  auto instances(const Definitions<Characteristic>& parents) {
    const auto list = std::make_shared<Definitions<Characteristic>>();
    for (const auto& parent : parents) {
      if (parent == nullptr) continue;
      for (auto instance : {parent->ip(), parent->btle()}) {
        // An instance's own handle does not keep its family.
        if (instance && oddity()) instance = instance->shared_from_this();
        if (instance || isOdd) list->push_back(instance);
      }
    }
    return list;
  }

  template <class Definition>
  auto named() {
    const auto list = std::make_shared<Definitions<Definition>>(1 + below(12));
    for (auto& each : *list) {
      each = std::make_shared<Definition>();
      each->setName(text());
    }
    return list;
  }

  template <class Definition>
  void changeOne(const DefinitionList<Definition>& list) {
    if (list->empty()) return;
    const auto& chosen = list->at(below(list->size()));
    if (chosen == nullptr) return;
    const auto relative = chance(50) ? chosen->ip() : chosen->parent();
    const std::function<void()> writes[] = {
        [&] { chosen->setName(text()); },
        [&] { chosen->setUti(text()); },
        [&] { chosen->setUuid(text()); },
        [&] { chosen->setTransport(QVTransport{static_cast<std::int64_t>(below(5))}); },
        [&] { chosen->setIp(family<Definition>()); },
        [&] { chosen->setBtle(nullptr); },
        [&] { chosen->setParent(chance(50) ? list->front() : nullptr); },
        [&] { fill(relative != nullptr ? *relative : *chosen); },
    };
    writes[below(std::size(writes))]();
  }
};

class LookupTest : public test::SymbolTableFixture {
 protected:
  void expectPlainAnswers(const std::string& when, const std::vector<std::string>& texts = kTexts) {
    for (const std::string& text : texts) {
      SCOPED_TRACE(when + ", '" + text + "'");
      const auto hasName = [&](const auto& each) { return each.name() == text; };
      const auto hasKey = [ref = lowercased(text)](const auto& instance) {
        const Text name = instance.name();
        return (name && lowercased(*name) == ref) || instance.uti() == ref ||
               instance.uuid() == ref;
      };
      const auto hasInstance = [&](const auto& parent) {
        return (parent.ip() && hasKey(*parent.ip())) || (parent.btle() && hasKey(*parent.btle()));
      };
      EXPECT_EQ(table.enumWithName(text), firstOf(table.enums(), hasName));
      EXPECT_EQ(table.tlv8WithName(text), firstOf(table.tlv8s(), hasName));
      EXPECT_EQ(table.parentCharacteristicWithRef(text),
                firstOf(table.characteristics(), hasInstance));
      EXPECT_EQ(table.parentServiceWithRef(text), firstOf(table.services(), hasInstance));
      for (std::int64_t transport = 0; transport <= 4; ++transport) {
        EXPECT_EQ(table.characteristicWithRef(text, QVTransport{transport}),
                  firstOf(table.transportCharacteristics(), [&](const auto& each) {
                    return each.transport() == QVTransport{transport} && hasKey(each);
                  }));
      }
    }
  }
};

TEST_F(LookupTest, answersAreThoseOfAPlainScan) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Generator generate{std::mt19937(seed), seed % 2 != 0};
    const auto parents = generate.families<Characteristic>();
    table.setTransportCharacteristics(generate.instances(*parents));
    table.setCharacteristics(parents);
    table.setServices(generate.families<Service>());
    table.setEnums(generate.named<QVEnumXMLObject>());
    table.setTlv8s(generate.named<QVTLV8XMLObject>());
    const std::string name = "seed " + std::to_string(seed);
    expectPlainAnswers(name);
    const std::function<void()> writes[] = {
        [&] { generate.changeOne(table.characteristics()); },
        [&] { generate.changeOne(table.transportCharacteristics()); },
        [&] { generate.changeOne(table.services()); },
        [&] { table.enums()->back()->setName(generate.text()); },
        [&] { table.tlv8s()->back()->setName(generate.text()); },
    };
    writes[seed / 2 % std::size(writes)]();
    expectPlainAnswers(name + " after a write");
    table.setCharacteristics(table.characteristics());
    table.setTransportCharacteristics(table.transportCharacteristics());
    table.setServices(table.services());
    expectPlainAnswers(name + " set again");
    // The parents go; instances held by handles of their own lose what they inherited.
    table.setCharacteristics(std::make_shared<Definitions<Characteristic>>());
    expectPlainAnswers(name + " without parents");
  }
}

// A handle out of the table's list keeps its family; stored as it comes, it would do so for good.
TEST_F(LookupTest, handlesOutOfTheListPutBackIntoTheirFamilies) {
  ASSERT_EQ(load({test::profileText("", "",
                                    "<characteristic name='On'><format name='bool'/>"
                                    "<ip><type uuid='25'/></ip><btle><type uuid='26'/></btle>"
                                    "</characteristic>",
                                    "")}),
            "loaded");
  std::vector<std::weak_ptr<Characteristic>> released = {table.characteristics()->at(0)};
  for (const auto& each : *table.transportCharacteristics()) {
    released.push_back(each->weak_from_this());
    const auto parent = each->parent();
    parent->setIp(each);
    parent->setBtle(each);
  }
  ASSERT_EQ(released.size(), 3U);
  const std::vector<std::string> refs = {"on", "25", "26"};
  expectPlainAnswers("put back", refs);
  table.setTransportCharacteristics(table.transportCharacteristics());
  expectPlainAnswers("set again", refs);
  EXPECT_EQ(table.characteristicWithRef("26", QVTransport::btle),
            table.characteristics()->at(0)->btle());
  clear();
  for (const auto& each : released) EXPECT_TRUE(each.expired());
}

TEST_F(LookupTest, aListThatItsMakerChangesLater) {
  const auto list =
      std::make_shared<Definitions<QVEnumXMLObject>>(1, std::make_shared<QVEnumXMLObject>());
  list->front()->setName("E");
  table.setEnums(list);
  list->clear();
  ASSERT_EQ(table.enums()->size(), 1U);
  EXPECT_EQ(table.enumWithName("E"), table.enums()->front());
}

// The instance knows its parent by a handle that keeps another family, which goes away.
TEST_F(LookupTest, aParentThatOnlyItsInstanceLoses) {
  auto keeper = std::make_shared<Characteristic>();
  const auto parent = std::make_shared<Characteristic>();
  const auto instance = std::make_shared<Characteristic>();
  parent->setName("On");
  keeper->setIp(parent);
  instance->setParent(keeper->ip());
  parent->setIp(instance);
  table.setCharacteristics(std::make_shared<Definitions<Characteristic>>(1, parent));
  EXPECT_EQ(table.parentCharacteristicWithRef("on"), parent);
  keeper.reset();
  EXPECT_EQ(instance->name(), std::nullopt);
  EXPECT_EQ(table.parentCharacteristicWithRef("on"), nullptr);
}

// Documents share keys, so later ones hold some that earlier ones have taken.
TEST_F(LookupTest, answersAfterLoads) {
  std::vector<std::string> refs;
  for (int n = 0; n < 20; ++n) {
    for (const char* start : {"n", "U", "v", "A"}) refs.push_back(start + std::to_string(n));
  }
  const auto section = [](const std::string& tag, const std::string& format, int document) {
    std::string text;
    for (int i = 0; i < 6; ++i) {
      text += fmt::format("<{0} name='N{1}'><type uti='U{2}'/>{3}", tag, 3 * document + i,
                          2 * i + document, format);
      if (i % 3 != 0) text += fmt::format("<ip><type uuid='a{}'/></ip>", i + document);
      if (i % 2 != 0) text += fmt::format("<btle><type uti='V{}'/></btle>", 3 * i + document);
      text += "</" + tag + ">";
    }
    return text;
  };
  std::vector<std::string> documents;
  for (int i = 0; i < 3; ++i) {
    documents.push_back(test::profileText(
        "", "", section("characteristic", "<format name='bool'/>", i), section("service", "", i)));
    EXPECT_EQ(load(documents), "loaded");
    expectPlainAnswers(std::to_string(i + 1) + " documents", refs);
  }
}

TEST_F(LookupTest, misses) {
  ASSERT_EQ(
      load({test::profileText(
          "<enum name='E' format='int'><values/></enum>", "<tlv8 name='T'><fields/></tlv8>",
          "<characteristic name='On'><type uuid='25'/><format name='bool'/><ip/>"
          "</characteristic><characteristic name='Bare'><type uuid='26'/></characteristic>",
          "<service name='IP only'><ip/></service><service name='BLE only'><btle/></service>")}),
      "loaded");
  const auto lookup = [&](const std::string& list, const std::string& ref,
                          std::int64_t transport) -> std::shared_ptr<const void> {
    if (list == "enum") return table.enumWithName(ref);
    if (list == "tlv8") return table.tlv8WithName(ref);
    if (list == "parent") return table.parentCharacteristicWithRef(ref);
    if (list == "instance") return table.characteristicWithRef(ref, QVTransport{transport});
    return table.serviceWithRef(ref, QVTransport{transport});
  };
  test::expectAnswers("rules/misses.txt", [&](const test::Case& input) {
    std::istringstream line(input[0]);
    std::string list, ref;
    std::int64_t transport = 0;
    std::getline(line >> list >> transport >> std::ws, ref);
    const auto find = [&] { EXPECT_EQ(lookup(list, ref, transport), nullptr) << input[0]; };
    find();
    table.setLoadInProgress(true);
    const std::string during = test::refusalOf(find);
    table.setLoadInProgress(false);
    return during;
  });
  const auto on = table.characteristics()->at(0);
  EXPECT_EQ(table.parentCharacteristicWithRef("ON"), on);
  EXPECT_EQ(table.characteristicWithRef("25", QVTransport::ip), on->ip());
  EXPECT_EQ(table.serviceWithRef("ip ONLY", QVTransport::ip), table.services()->at(0)->ip());
  EXPECT_EQ(table.serviceWithRef("ble only", QVTransport::btle), table.services()->at(1)->btle());
}

}  // namespace
}  // namespace qv
