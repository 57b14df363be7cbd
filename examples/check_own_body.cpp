// Checks a JSON body of one's own kind with the library's object model: a class names the keys that
// it reads, and every fault is told with its JSON Pointer and its bytes.
#include <cstdio>
#include <memory>
#include <string_view>

#include "qvparsersupport/qvparsersupport.h"

// A firmware answer such as {"version":"1.2","slots":[{"size":4096}]}.
class FirmwareSlot : public qv::QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<qv::Value> value,
                          const std::shared_ptr<qv::QVIPJSONObject>& parent,
                          qv::QVIPJSONValueType) override {
    QVIPJSONObject::initWithJSONObject(std::move(value), parent, qv::QVIPJSONValueType::object);
    extractValueForKey("size", qv::QVIPJSONValueType::number);
  }
};

class FirmwareAnswer : public qv::QVIPJSONObject {
 public:
  void initWithJSONObject(std::optional<qv::Value> value,
                          const std::shared_ptr<qv::QVIPJSONObject>& parent,
                          qv::QVIPJSONValueType) override {
    QVIPJSONObject::initWithJSONObject(std::move(value), parent, qv::QVIPJSONValueType::object);
    expectReads(2, 1);
    extractValueForKey("version", qv::QVIPJSONValueType::string);
    extractArrayValueForKey<FirmwareSlot>("slots");
  }
};

int main() {
  constexpr std::string_view kBody = R"({"version":1.2,"slots":[{"size":4096},{"sise":512}]})";
  const qv::JSONParseResult parsed = qv::parseJSON(qv::bytesOf(kBody));
  const auto answer = qv::QVIPJSONObject::make<FirmwareAnswer>(parsed.value, nullptr);
  for (const qv::QVIPJSONFault& fault : qv::faultsOfTree(*answer, parsed.value, 100)) {
    const auto range = qv::rangeOfJSONPointer(qv::bytesOf(kBody), fault.pointer);
    std::printf("%s at byte %zu: %s\n", fault.pointer.c_str(), range ? range->offset : 0,
                fault.text.c_str());
  }
}
