// Lifetime and shape of families of parents and instances. Leaks and dangling reads show under the
// address sanitizer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "tests/support/xml_fragment.h"

namespace qv {
namespace {

using Characteristic = QVCharacteristicXMLObject;
using Handle = std::shared_ptr<Characteristic>;

Handle family() {
  return Characteristic::initWithXMLElement(test::elementFrom(
      "<characteristic name='On'><type uuid='25'/><ip/><btle/></characteristic>"));
}

TEST(TransportFamilyTest, anInstanceKeepsItsFamily) {
  Handle ip = family()->ip();
  EXPECT_EQ(ip->name(), "On");
  EXPECT_EQ(ip->parent()->ip(), ip);
  EXPECT_EQ(ip->element()->name(), "ip");
  const Handle btle = ip->parent()->btle();
  ip.reset();
  EXPECT_EQ(btle->uuid(), "25");
  EXPECT_EQ(btle->parent()->ip()->uuidView(), "25");
}

TEST(TransportFamilyTest, aReplacedInstanceStaysReadable) {
  const Handle parent = family();
  const Handle ip = parent->ip();
  parent->setIp(nullptr);
  EXPECT_EQ(parent->ip(), nullptr);
  EXPECT_EQ(ip->name(), "On");
  parent->setIp(parent->btle());
  parent->setIp(ip);
  EXPECT_EQ(parent->ip(), ip);
}

TEST(TransportFamilyTest, anInstanceWithoutParentReadsItsOwnValues) {
  const auto alone = Characteristic::initWithFormat(QVFormatType::boolean);
  {
    const auto parent = family();
    alone->setParent(parent);
    EXPECT_EQ(alone->name(), "On");
  }
  EXPECT_EQ(alone->parent(), nullptr);
  EXPECT_EQ(alone->name(), std::nullopt);
  EXPECT_EQ(alone->format(), QVFormatType::boolean);
}

// Each arrangement would keep its family alive for good if the handle were stored as it comes.
TEST(TransportFamilyTest, aFamilyHandlePutBackDoesNotLeak) {
  std::vector<std::weak_ptr<Characteristic>> released;
  const auto arrange = [&](auto change) {
    const Handle parent = family();
    const Handle ip = parent->ip();
    const Handle btle = parent->btle();
    change(*parent, ip, btle);
    EXPECT_EQ(parent->ip()->name(), "On");
    released.insert(released.end(), {parent, ip->weak_from_this(), btle->weak_from_this()});
  };
  arrange([](Characteristic& parent, Handle ip, Handle) { parent.setIp(ip); });
  arrange([](Characteristic& parent, Handle ip, Handle) { parent.setBtle(ip); });
  arrange([](Characteristic& parent, Handle ip, Handle btle) {
    parent.setIp(btle);
    parent.setBtle(ip);
  });
  arrange([](Characteristic& parent, Handle, Handle) { parent.setIp(parent.shared_from_this()); });
  arrange([](Characteristic&, Handle ip, Handle btle) { ip->setIp(btle); });
  arrange([](Characteristic&, Handle ip, Handle) { ip->setBtle(ip); });
  for (const auto& each : released) EXPECT_TRUE(each.expired());
}

TEST(TransportFamilyTest, anotherFamilysHandleKeepsThatFamily) {
  const auto parent = std::make_shared<Characteristic>();
  parent->setIp(family()->btle());
  EXPECT_EQ(parent->ip()->name(), "On");
  EXPECT_EQ(parent->ip()->transport(), QVTransport::btle);
}

TEST(TransportFamilyTest, parentChainsMayLeadBack) {
  const auto link = [](std::initializer_list<int> parents) {
    std::vector<Handle> nodes;
    for (std::size_t i = 0; i < parents.size(); ++i) {
      nodes.push_back(std::make_shared<Characteristic>());
    }
    std::size_t i = 0;
    for (const int parent : parents) nodes[i++]->setParent(nodes[static_cast<std::size_t>(parent)]);
    return nodes;
  };
  for (const auto& shape : {link({0}), link({1, 0}), link({1, 2, 3, 4, 5, 3})}) {
    EXPECT_EQ(shape[0]->name(), std::nullopt);
    EXPECT_EQ(shape[0]->format(), QVFormatType::none);
    shape.back()->setName("last");
    EXPECT_EQ(shape[0]->name(), "last");
  }
}

TEST(TransportFamilyTest, deepChainsNeedNoStack) {
  constexpr int kDepth = 200000;
  std::vector<Handle> nodes{std::make_shared<Characteristic>()};
  const Handle top = nodes.front();
  top->setName("top");
  for (int i = 0; i < kDepth; ++i) {
    auto child = std::make_shared<Characteristic>();
    child->setParent(nodes.back());
    i % 2 == 0 ? nodes.back()->setIp(child) : nodes.back()->setBtle(child);
    nodes.push_back(std::move(child));
  }
  EXPECT_EQ(nodes.back()->name(), "top");
  nodes.clear();  // `top` owns the whole chain now and takes it down at the end
  EXPECT_EQ(top->ip()->name(), "top");
}

TEST(TransportFamilyTest, deepChainsOfReplacedInstancesNeedNoStack) {
  constexpr int kDepth = 200000;
  const Handle top = std::make_shared<Characteristic>();
  Handle last = top;
  for (int i = 0; i < kDepth; ++i) {
    const auto child = std::make_shared<Characteristic>();
    last->setIp(child);
    last->setIp(nullptr);
    last = child;
  }
  const std::weak_ptr<Characteristic> end = last;
  last.reset();
  EXPECT_FALSE(end.expired());  // `top` owns the whole chain now and takes it down at the end
}

TEST(TransportFamilyTest, aDefinitionOnTheStackHandsOutWhatItHolds) {
  Characteristic local;
  const auto instance = std::make_shared<Characteristic>();
  local.setIp(instance);
  EXPECT_EQ(local.ip(), instance);
}

TEST(TransportFamilyTest, validationOfInstancesThatAHostNested) {
  const auto reason = [](const auto& definition) -> std::string {
    try {
      definition.validateInstances();
      return "accepted";
    } catch (const QVLoadAssertion& assertion) {
      return assertion.reason();
    }
  };
  const auto parent = std::make_shared<Characteristic>();
  const auto instance = std::make_shared<Characteristic>();
  const auto nested = std::make_shared<Characteristic>();
  instance->setIp(nested);
  EXPECT_EQ(reason(*instance), "accepted");  // a parent validates nothing
  instance->setParent(parent);
  EXPECT_EQ(reason(*instance), "Must have a name");
  nested->setParent(parent);
  parent->setName("inherited");
  EXPECT_EQ(reason(*instance), "Must have a format string");
  parent->setFormat(QVFormatType::boolean);
  EXPECT_EQ(reason(*instance), "IP must have a UUID");
  instance->setBtle(nested);
  instance->setIp(nullptr);
  EXPECT_EQ(reason(*instance), "BLE must have a UUID");
  parent->setUuid("25");
  EXPECT_EQ(reason(*instance), "accepted");

  const auto service = std::make_shared<QVServiceXMLObject>();
  const auto above = std::make_shared<QVServiceXMLObject>();
  const auto below = std::make_shared<QVServiceXMLObject>();
  const auto none = std::make_shared<std::vector<Handle>>();
  service->setParent(above);
  service->setBtle(below);
  EXPECT_EQ(reason(*service), "Must have a name");
  below->setName("S");
  EXPECT_EQ(reason(*service), "Must have required");
  below->setRequired(none);
  EXPECT_EQ(reason(*service), "Must have optional");
  below->setOptional(none);
  EXPECT_EQ(reason(*service), "BLE must have a UUID");
  service->setIp(below);
  EXPECT_EQ(reason(*service), "IP must have a UUID");
  below->setUuid("3e");
  EXPECT_EQ(reason(*service), "accepted");
}

TEST(TransportFamilyTest, servicesReadThroughToTheirParent) {
  const auto service = QVServiceXMLObject::initWithXMLElement(
      test::elementFrom("<service name='S'><type uuid='3E' uti='A'/><required/><ip><optional/></ip>"
                        "<btle><type uuid='B'/></btle></service>"));
  const auto ip = service->ip();
  EXPECT_EQ(ip->required(), service->required());
  EXPECT_NE(ip->required(), nullptr);
  EXPECT_NE(ip->optional(), nullptr);
  EXPECT_EQ(service->btle()->optional(), nullptr);
  EXPECT_EQ(service->btle()->uuid(), "b");
  EXPECT_EQ(service->btle()->uti(), "a");
  EXPECT_EQ(service->btle()->name(), "S");
  EXPECT_TRUE(ip->description().ends_with("> => S"));
}

}  // namespace
}  // namespace qv
