#include <gmock/gmock.h>

#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/ip_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

// The class of a transformer and what it was made with.
std::string nameOf(const QVTransformer* transformer) {
  if (transformer == nullptr) return "";
  if (const auto* t = dynamic_cast<const QVIPNumberTransformer*>(transformer)) {
    return fmt::format("IPNumber {}", t->numberType());
  }
  if (const auto* t = dynamic_cast<const QVBTLEPrimitiveTransformer*>(transformer)) {
    return fmt::format("BTLEPrimitive {}", t->primitiveType());
  }
  if (const auto* t = dynamic_cast<const QVTLV8PrimitiveTransformer*>(transformer)) {
    return fmt::format("TLV8Primitive {}", t->primitiveType());
  }
  if (dynamic_cast<const QVIPStringTransformer*>(transformer) != nullptr) return "IPString";
  if (dynamic_cast<const QVIPBlobTransformer*>(transformer) != nullptr) return "IPBlob";
  if (dynamic_cast<const QVIPArrayTransformer*>(transformer) != nullptr) return "IPArray";
  if (dynamic_cast<const QVIPObjectTransformer*>(transformer) != nullptr) return "IPObject";
  if (dynamic_cast<const QVBTLEStringTransformer*>(transformer) != nullptr) return "BTLEString";
  if (dynamic_cast<const QVBTLEDataTransformer*>(transformer) != nullptr) return "BTLEData";
  if (dynamic_cast<const QVTLV8TLV8Transformer*>(transformer) != nullptr) return "TLV8TLV8";
  if (dynamic_cast<const QVTLV8StringTransformer*>(transformer) != nullptr) return "TLV8String";
  if (dynamic_cast<const QVTLV8DataTransformer*>(transformer) != nullptr) return "TLV8Data";
  if (dynamic_cast<const QVTLV8Transformer*>(transformer) != nullptr) return "TLV8";
  return "unknown class";
}

struct RegistryRow {
  const char* name;
  // By format, 0 to 14; the empty text where there is none.
  std::vector<std::string> byFormat;
};

TEST(QVTransformerRegistryTest, HoldsWhatTheTableSaysAndNothingElse) {
  const std::vector<std::string> none(15);
  const RegistryRow rows[] = {
      {"none", none},
      {"IP",
       {"", "IPNumber 6", "IPNumber 1", "IPNumber 2", "IPNumber 3", "IPNumber 4", "IPNumber 5",
        "IPNumber 0", "IPString", "", "TLV8", "IPBlob", "IPArray", "IPObject", ""}},
      {"BTLE",
       {"", "BTLEPrimitive 6", "BTLEPrimitive 0", "BTLEPrimitive 1", "BTLEPrimitive 2",
        "BTLEPrimitive 3", "BTLEPrimitive 4", "BTLEPrimitive 5", "BTLEString", "", "TLV8",
        "BTLEData", "", "", ""}},
      {"Nimbus Relay", none},
      {"TLV8",
       {"", "", "TLV8Primitive 0", "TLV8Primitive 1", "TLV8Primitive 2", "TLV8Primitive 3",
        "TLV8Primitive 4", "TLV8Primitive 5", "TLV8String", "", "TLV8TLV8", "TLV8Data", "", "",
        ""}},
      {"unknown", none},
  };
  std::int64_t transportNumber = 0;
  for (const RegistryRow& row : rows) {
    const auto transport = static_cast<QVTransport>(transportNumber++);
    std::vector<QVFormatType> expectedFormats;
    for (std::size_t i = 0; i < row.byFormat.size(); ++i) {
      const auto format = static_cast<QVFormatType>(i);
      const auto transformer = QVTransformer::transformerForTransport(transport, format);
      EXPECT_EQ(nameOf(transformer.get()), row.byFormat[i]) << row.name << " " << i;
      EXPECT_EQ(transformer, QVTransformer::transformerForTransport(transport, format));
      if (transformer == nullptr) continue;
      expectedFormats.push_back(format);
      EXPECT_EQ(transformer->transport(), transport);
      EXPECT_EQ(transformer->format(), format);
    }
    const auto formats = QVTransformer::transformableFormatsForTransport(transport);
    ASSERT_EQ(formats.has_value(), !expectedFormats.empty()) << row.name;
    if (formats) {
      EXPECT_THAT(*formats, testing::UnorderedElementsAreArray(expectedFormats)) << row.name;
    }
  }
  EXPECT_EQ(QVTransformer::_transformerMapping().size(), 3u);
}

TEST(QVTransformerRegistryTest, SharedInstancesAreNewOnesInTheOrderOfTheirTypes) {
  EXPECT_EQ(QVTransformer::sharedInstances(), std::nullopt);
  EXPECT_EQ(QVIPTransformer::sharedInstances(), QVTransformerList());
  EXPECT_EQ(QVBTLETransformer::sharedInstances(), QVTransformerList());
  const auto names = [](const QVTransformerList& list) {
    std::vector<std::string> result;
    for (const auto& transformer : list) result.push_back(nameOf(transformer.get()));
    return result;
  };
  using testing::ElementsAre;
  EXPECT_THAT(names(QVIPNumberTransformer::sharedInstances()),
              ElementsAre("IPNumber 0", "IPNumber 1", "IPNumber 2", "IPNumber 3", "IPNumber 4",
                          "IPNumber 5", "IPNumber 6"));
  EXPECT_THAT(
      names(QVBTLEPrimitiveTransformer::sharedInstances()),
      ElementsAre("BTLEPrimitive 0", "BTLEPrimitive 1", "BTLEPrimitive 2", "BTLEPrimitive 3",
                  "BTLEPrimitive 4", "BTLEPrimitive 5", "BTLEPrimitive 6"));
  EXPECT_THAT(names(QVTLV8PrimitiveTransformer::sharedInstances()),
              ElementsAre("TLV8Primitive 0", "TLV8Primitive 1", "TLV8Primitive 2",
                          "TLV8Primitive 3", "TLV8Primitive 4", "TLV8Primitive 5"));
  const QVTransformerList whole = QVTLV8Transformer::sharedInstances();
  ASSERT_EQ(whole.size(), 2u);
  EXPECT_EQ(whole[0]->transport(), QVTransport::btle);
  EXPECT_EQ(whole[1]->transport(), QVTransport::ip);
  EXPECT_NE(whole[1], QVTransformer::transformerForTransport(QVTransport::ip, QVFormatType::tlv8));
}

TEST(QVTransformerTest, BaseAndFamilyBasesTransformNothing) {
  const QVTransformer base;
  const QVIPTransformer ip;
  const QVBTLETransformer btle;
  const std::pair<const QVTransformer*, QVTransport> rows[] = {
      {&base, QVTransport::none}, {&ip, QVTransport::ip}, {&btle, QVTransport::btle}};
  for (const auto& [transformer, transport] : rows) {
    EXPECT_EQ(transformer->transport(), transport);
    EXPECT_EQ(transformer->format(), QVFormatType::none);
    EXPECT_EQ(encoded(*transformer, Number::int64(1)), "- | Invalid format transformer.");
    EXPECT_EQ(decoded(*transformer, Number::int64(1)), "- | Invalid format transformer.");
  }
  EXPECT_STREQ(QVTransformerErrorDomain, "com.corvid.QVTransformer");
}

}  // namespace
}  // namespace qv::test
