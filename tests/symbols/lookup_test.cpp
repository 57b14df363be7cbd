// Lookups against the rules written down a second time as plain scans, over tables whose keys
// collide in every way, and their answers inside and outside a load.

#include <functional>
#include <random>

#include "qvparsersupport/common/utf8.h"
#include "tests/symbols/symbol_table_fixture.h"

namespace qv {
namespace {

using Characteristic = QVCharacteristicXMLObject;
using Service = QVServiceXMLObject;
using Text = std::optional<std::string>;

class LookupTest : public test::SymbolTableFixture {};

template <class Definition>
using Definitions = std::vector<std::shared_ptr<Definition>>;

template <class Definition>
bool instanceMatches(const std::shared_ptr<Definition>& instance, const std::string& ref) {
  if (instance == nullptr) return false;
  const Text name = instance->name();
  return (name && lowercased(*name) == ref) || instance->uti() == ref || instance->uuid() == ref;
}

template <class List>
auto plainParent(const List& list, const std::string& ref) ->
    typename List::element_type::value_type {
  for (const auto& each : *list) {
    if (each == nullptr) continue;
    if (instanceMatches(each->ip(), lowercased(ref)) ||
        instanceMatches(each->btle(), lowercased(ref))) {
      return each;
    }
  }
  return nullptr;
}

template <class List>
auto plainNamed(const List& list, const std::string& name) ->
    typename List::element_type::value_type {
  for (const auto& each : *list) {
    if (each != nullptr && each->name() == name) return each;
  }
  return nullptr;
}

std::shared_ptr<Characteristic> plainInstance(const DefinitionList<Characteristic>& list,
                                              const std::string& ref, QVTransport transport) {
  for (const auto& each : *list) {
    if (each != nullptr && each->transport() == transport &&
        instanceMatches(each, lowercased(ref))) {
      return each;
    }
  }
  return nullptr;
}

const std::vector<std::string> kTexts = {
    "", "a", "A", "b", "Ab", "aB", "zz", "\xC3\x89", "\xC3\xA9", "\xE2\x84\xAA", "k", "K"};

// Families and lists as no profile would make them.
class Generator {
 public:
  explicit Generator(unsigned seed) : random_(seed) {}

  bool chance(unsigned percent) { return random_() % 100 < percent; }
  std::size_t below(std::size_t limit) { return random_() % limit; }
  Text text() {
    if (chance(40)) return std::nullopt;
    return kTexts[below(kTexts.size())];
  }

  template <class Definition>
  void fill(Definition& definition) {
    definition.setName(text());
    definition.setUti(text());
    definition.setUuid(text());
  }

  template <class Definition>
  std::shared_ptr<Definition> family(bool ordinary) {
    auto parent = std::make_shared<Definition>();
    fill(*parent);
    for (const auto transport : {QVTransport::ip, QVTransport::btle}) {
      if (chance(30)) continue;
      auto instance = std::make_shared<Definition>();
      fill(*instance);
      instance->setTransport(ordinary || chance(80) ? transport : QVTransport{4});
      if (ordinary || chance(80)) instance->setParent(parent);
      transport == QVTransport::ip ? parent->setIp(instance) : parent->setBtle(instance);
    }
    if (!ordinary && chance(20)) parent->setParent(parent->ip());  // leads back
    return parent;
  }

  template <class Definition>
  Definitions<Definition> families(bool ordinary) {
    Definitions<Definition> list;
    for (std::size_t count = below(12); count > 0; --count) {
      list.push_back(ordinary || chance(90) ? family<Definition>(ordinary) : nullptr);
      if (chance(10)) list.push_back(list.back());
    }
    return list;
  }

  Definitions<Characteristic> instances(const Definitions<Characteristic>& parents, bool ordinary) {
    Definitions<Characteristic> list;
    for (const auto& parent : parents) {
      if (parent == nullptr) continue;
      for (auto instance : {parent->ip(), parent->btle()}) {
        // An instance's own handle does not keep its family.
        if (instance && !ordinary && chance(20)) instance = instance->shared_from_this();
        if (instance || !ordinary) list.push_back(instance);
      }
    }
    return list;
  }

 private:
  std::mt19937 random_;
};

class GeneratedLookupTest : public LookupTest {
 protected:
  template <class Definition>
  static DefinitionList<Definition> listOf(Definitions<Definition> list) {
    return std::make_shared<Definitions<Definition>>(std::move(list));
  }

  void expectPlainAnswers(const char* when, unsigned seed) {
    for (const std::string& text : kTexts) {
      SCOPED_TRACE(std::string(when) + ", seed " + std::to_string(seed) + ", '" + text + "'");
      EXPECT_EQ(table.enumWithName(text), plainNamed(table.enums(), text));
      EXPECT_EQ(table.tlv8WithName(text), plainNamed(table.tlv8s(), text));
      EXPECT_EQ(table.parentCharacteristicWithRef(text),
                plainParent(table.characteristics(), text));
      EXPECT_EQ(table.parentServiceWithRef(text), plainParent(table.services(), text));
      for (std::int64_t transport = 0; transport <= 4; ++transport) {
        EXPECT_EQ(table.characteristicWithRef(text, QVTransport{transport}),
                  plainInstance(table.transportCharacteristics(), text, QVTransport{transport}));
      }
    }
  }

  void setLists(Generator& generate, bool ordinary) {
    Definitions<QVEnumXMLObject> enums;
    Definitions<QVTLV8XMLObject> tlv8s;
    for (std::size_t count = generate.below(12); count > 0; --count) {
      enums.push_back(std::make_shared<QVEnumXMLObject>());
      enums.back()->setName(generate.text());
      tlv8s.push_back(std::make_shared<QVTLV8XMLObject>());
      tlv8s.back()->setName(generate.text());
    }
    auto parents = generate.families<Characteristic>(ordinary);
    table.setTransportCharacteristics(listOf(generate.instances(parents, ordinary)));
    table.setCharacteristics(listOf(std::move(parents)));
    table.setServices(listOf(generate.families<Service>(ordinary)));
    table.setEnums(listOf(std::move(enums)));
    table.setTlv8s(listOf(std::move(tlv8s)));
  }

  template <class Definition>
  static void changeOne(Generator& generate, const DefinitionList<Definition>& list) {
    if (list->empty()) return;
    const auto& chosen = list->at(generate.below(list->size()));
    if (chosen == nullptr) return;
    const auto other = generate.family<Definition>(false);
    const std::function<void()> changes[] = {
        [&] { chosen->setName(generate.text()); },
        [&] { chosen->setUti(generate.text()); },
        [&] { chosen->setUuid(generate.text()); },
        [&] { chosen->setTransport(QVTransport{static_cast<std::int64_t>(generate.below(5))}); },
        [&] { chosen->setIp(other); },
        [&] { chosen->setBtle(nullptr); },
        [&] { chosen->setParent(list->front()); },
        [&] { chosen->setParent(nullptr); },
        [&] {
          if (chosen->ip() != nullptr) generate.fill(*chosen->ip());
        },
        [&] {
          if (chosen->parent() != nullptr) generate.fill(*chosen->parent());
        },
    };
    changes[generate.below(std::size(changes))]();
  }
};

TEST_F(GeneratedLookupTest, answersAreThoseOfAPlainScan) {
  for (unsigned seed = 0; seed < 300; ++seed) {
    Generator generate(seed);
    setLists(generate, seed % 2 == 0);
    expectPlainAnswers("fresh", seed);
    switch (generate.below(5)) {
      case 0:
        changeOne(generate, table.characteristics());
        break;
      case 1:
        changeOne(generate, table.transportCharacteristics());
        break;
      case 2:
        changeOne(generate, table.services());
        break;
      case 3:
        if (!table.enums()->empty()) table.enums()->back()->setName(generate.text());
        break;
      default:
        if (!table.tlv8s()->empty()) table.tlv8s()->back()->setName(generate.text());
    }
    expectPlainAnswers("after a write", seed);
    table.setCharacteristics(table.characteristics());
    table.setTransportCharacteristics(table.transportCharacteristics());
    table.setServices(table.services());
    expectPlainAnswers("set again", seed);
    // The parents go; instances held by handles of their own lose what they inherited.
    table.setCharacteristics(listOf(Definitions<Characteristic>()));
    expectPlainAnswers("without parents", seed);
  }
}

TEST_F(LookupTest, aListThatItsMakerChangesLater) {
  const auto list = std::make_shared<Definitions<QVEnumXMLObject>>();
  list->push_back(std::make_shared<QVEnumXMLObject>());
  list->front()->setName("E");
  table.setEnums(list);
  const auto first = list->front();
  list->clear();
  EXPECT_EQ(table.enumWithName("E"), first);
  EXPECT_EQ(table.enums()->size(), 1U);
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

// Documents share names, so later ones hold keys that earlier ones have taken.
TEST_F(GeneratedLookupTest, answersAfterLoads) {
  constexpr std::size_t kKeys = 300;
  int loads = 0;
  for (unsigned seed = 0; seed < 40; ++seed) {
    Generator generate(seed);
    const auto type = [&] {
      std::string text = "<type";
      if (generate.chance(50)) text += " uti='U" + std::to_string(generate.below(kKeys)) + "'";
      if (generate.chance(50)) text += " uuid='a" + std::to_string(generate.below(kKeys)) + "'";
      return text + "/>";
    };
    const auto section = [&](const std::string& tag, const std::string& format, unsigned first) {
      std::string text;
      for (unsigned i = first; i < first + 5; ++i) {
        text += "<" + tag + " name='N" + std::to_string(i) + "'>" + type() + format;
        if (i % 3 != 0) text += "<ip>" + type() + "</ip>";
        if (i % 2 != 0) text += "<btle>" + type() + "</btle>";
        text += "</" + tag + ">";
      }
      return text;
    };
    std::vector<std::string> documents;
    for (unsigned i = 0; i <= seed % 3; ++i) {
      documents.push_back(
          test::profileText("", "", section("characteristic", "<format name='bool'/>", 3 * i),
                            section("service", "", 3 * i)));
    }
    if (load(documents) != "loaded") continue;  // two random keys met
    ++loads;
    for (std::size_t n = 0; n < kKeys; ++n) {
      for (const std::string start : {"n", "u", "A"}) {
        const std::string ref = start + std::to_string(n);
        EXPECT_EQ(table.parentCharacteristicWithRef(ref),
                  plainParent(table.characteristics(), ref));
        EXPECT_EQ(table.parentServiceWithRef(ref), plainParent(table.services(), ref));
        for (const auto transport : {QVTransport::ip, QVTransport::btle}) {
          EXPECT_EQ(table.characteristicWithRef(ref, transport),
                    plainInstance(table.transportCharacteristics(), ref, transport));
        }
      }
    }
  }
  EXPECT_GT(loads, 10);
}

TEST_F(LookupTest, misses) {
  ASSERT_EQ(
      load({test::profileText(
          "<enum name='E' format='int'><values/></enum>", "<tlv8 name='T'><fields/></tlv8>",
          "<characteristic name='On'><type uuid='25'/><format name='bool'/><ip/>"
          "</characteristic><characteristic name='Bare'><type uuid='26'/></characteristic>",
          "<service name='IP only'><ip/></service><service name='BLE only'><btle/></service>")}),
      "loaded");
  const auto address = [](const auto& found) { return static_cast<const void*>(found.get()); };
  const auto ref = [&](const char* text, QVTransport transport) {
    return [this, &address, text, transport] {
      return address(table.characteristicWithRef(text, transport));
    };
  };
  const auto service = [&](const char* text, std::int64_t transport) {
    return [this, &address, text, transport] {
      return address(table.serviceWithRef(text, QVTransport{transport}));
    };
  };
  const struct {
    std::function<const void*()> lookup;
    std::string raised;  // during a load; outside one every row answers null
  } rows[] = {
      {[&] { return address(table.enumWithName("e")); }, "Failed to find enum with name e"},
      {[&] { return address(table.tlv8WithName("t")); },
       "Failed to find tlv8 with name t (Must be defined before usage as sub-tlv)"},
      {[&] { return address(table.parentCharacteristicWithRef("OFF")); },
       "Failed to find parent characteristic with ref off"},
      {[&] { return address(table.parentCharacteristicWithRef("Bare")); },
       "Failed to find parent characteristic with ref bare"},
      {ref("ON", QVTransport::btle), "Failed to find characteristic with ref on"},
      {ref("On", QVTransport::none), "Failed to find characteristic with ref on"},
      {[&] { return address(table.parentServiceWithRef("\xC3\x89")); },
       "Failed to find service with ref \xC3\xA9"},
      {service("Gone", 4), "Failed to find service with ref gone"},
      {service("IP only", 2), "Service must have BLE definition during load"},
      {service("ble ONLY", 1), "Service must have IP definition during load"},
      {service("IP only", 4), "null"},
      {service("IP only", 0), "null"},
      {service("BLE only", -1), "null"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(row.lookup(), nullptr) << row.raised;
    table.setLoadInProgress(true);
    std::string raised = "null";
    try {
      EXPECT_EQ(row.lookup(), nullptr);
    } catch (const QVLoadAssertion& assertion) {
      raised = assertion.reason();
    }
    EXPECT_EQ(raised, row.raised);
    table.setLoadInProgress(false);
  }
  EXPECT_EQ(table.parentCharacteristicWithRef("ON"), table.characteristics()->at(0));
  EXPECT_EQ(table.characteristicWithRef("25", QVTransport::ip),
            table.characteristics()->at(0)->ip());
  EXPECT_EQ(table.serviceWithRef("ip ONLY", QVTransport::ip), table.services()->at(0)->ip());
  EXPECT_EQ(table.serviceWithRef("ble only", QVTransport::btle), table.services()->at(1)->btle());
}

}  // namespace
}  // namespace qv
