// Lifetime and shape of families of parents and instances. Leaks and dangling reads show under the
// address sanitizer.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "qvparsersupport/definitions/characteristic_xml_object.h"
#include "qvparsersupport/definitions/service_xml_object.h"
#include "tests/support/expectations.h"
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
  const std::vector<std::size_t> shapes[] = {{0}, {1, 0}, {1, 2, 3, 4, 5, 3}};
  for (const auto& parents : shapes) {
    std::vector<Handle> shape;
    for (std::size_t i = 0; i < parents.size(); ++i) {
      shape.push_back(std::make_shared<Characteristic>());
    }
    for (std::size_t i = 0; i < parents.size(); ++i) shape[i]->setParent(shape[parents[i]]);
    EXPECT_EQ(shape[0]->name(), std::nullopt);
    EXPECT_EQ(shape[0]->format(), QVFormatType::none);
    shape.back()->setName("last");
    EXPECT_EQ(shape[0]->name(), "last");
  }
}

// The top owns the whole chain, whose last link it takes down at the end.
TEST(TransportFamilyTest, deepChainsNeedNoStack) {
  using Link = void (*)(const Handle& last, const Handle& child);
  const Link links[] = {
      [](const Handle& last, const Handle& child) { last->setIp(child); },
      [](const Handle& last, const Handle& child) { last->setBtle(child); },
      [](const Handle& last, const Handle& child) {
        last->setIp(child);
        last->setIp(nullptr);
      },
  };
  for (const Link link : links) {
    Handle top = std::make_shared<Characteristic>();
    top->setName("top");
    std::vector<Handle> nodes{top};
    for (int i = 0; i < 100000; ++i) {
      nodes.push_back(std::make_shared<Characteristic>());
      nodes.back()->setParent(nodes[nodes.size() - 2]);
      link(nodes[nodes.size() - 2], nodes.back());
    }
    EXPECT_EQ(nodes.back()->name(), "top");
    const std::weak_ptr<Characteristic> end = nodes.back();
    nodes.clear();
    EXPECT_FALSE(end.expired());
    top.reset();
    EXPECT_TRUE(end.expired());
  }
}

TEST(TransportFamilyTest, aDefinitionOnTheStackHandsOutWhatItHolds) {
  Characteristic local;
  const auto instance = std::make_shared<Characteristic>();
  local.setIp(instance);
  EXPECT_EQ(local.ip(), instance);
}

TEST(TransportFamilyTest, validationOfInstancesThatAHostNested) {
  const auto expect = [](const auto& definition, const char* refusal) {
    EXPECT_EQ(test::refusalOf([&] { definition->validateInstances(); }), refusal);
  };
  const auto parent = std::make_shared<Characteristic>();
  const auto instance = std::make_shared<Characteristic>();
  const auto nested = std::make_shared<Characteristic>();
  instance->setIp(nested);
  expect(instance, "accepted");  // a parent validates nothing
  instance->setParent(parent);
  expect(instance, "Must have a name");
  nested->setParent(parent);
  parent->setName("inherited");
  expect(instance, "Must have a format string");
  parent->setFormat(QVFormatType::boolean);
  expect(instance, "IP must have a UUID");
  instance->setBtle(nested);
  instance->setIp(nullptr);
  expect(instance, "BLE must have a UUID");
  parent->setUuid("25");
  expect(instance, "accepted");

  const auto service = std::make_shared<QVServiceXMLObject>();
  const auto above = std::make_shared<QVServiceXMLObject>();
  const auto below = std::make_shared<QVServiceXMLObject>();
  const auto none = std::make_shared<std::vector<Handle>>();
  service->setParent(above);
  service->setBtle(below);
  below->setName("S");
  expect(service, "Must have required");
  below->setRequired(none);
  expect(service, "Must have optional");
  below->setOptional(none);
  expect(service, "BLE must have a UUID");
  below->setUuid("3e");
  expect(service, "accepted");
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
