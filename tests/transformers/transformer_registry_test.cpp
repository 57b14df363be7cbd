#include <cxxabi.h>
#include <gmock/gmock.h>

#include <cstdlib>
#include <typeinfo>

#include "qvparsersupport/transformers/btle_transformers.h"
#include "qvparsersupport/transformers/ip_transformers.h"
#include "qvparsersupport/transformers/tlv8_field_transformers.h"
#include "tests/transformers/transformer_dump.h"

namespace qv::test {
namespace {

// "IPNumber6" for a QVIPNumberTransformer that was made with 6.
std::string nameOf(const QVTransformer* transformer) {
  if (transformer == nullptr) return "-";
  const QVTransformer& object = *transformer;
  const std::unique_ptr<char, decltype(&std::free)> demangled(
      abi::__cxa_demangle(typeid(object).name(), nullptr, nullptr, nullptr), &std::free);
  const std::string_view name = demangled.get();
  std::string result(name.substr(6, name.size() - 6 - 11));  // "qv::QV" and "Transformer"
  const auto* ip = dynamic_cast<const QVIPNumberTransformer*>(transformer);
  const auto* btle = dynamic_cast<const QVBTLEPrimitiveTransformer*>(transformer);
  const auto* tlv8 = dynamic_cast<const QVTLV8PrimitiveTransformer*>(transformer);
  if (ip != nullptr) result += std::to_string(ip->numberType());
  if (btle != nullptr) result += std::to_string(btle->primitiveType());
  if (tlv8 != nullptr) result += std::to_string(tlv8->primitiveType());
  return result;
}

std::string namesOf(const QVTransformerList& list) {
  std::string names;
  for (const auto& transformer : list)
    names += (names.empty() ? "" : " ") + nameOf(transformer.get());
  return names;
}

TEST(QVTransformerRegistryTest, HoldsWhatTheTableSaysAndNothingElse) {
  const std::string none = "- - - - - - - - - - - - - - -";
  const std::string rows[] = {
      // by transport and, in a row, by format, 0 to 14
      none,
      "- IPNumber6 IPNumber1 IPNumber2 IPNumber3 IPNumber4 IPNumber5 IPNumber0 IPString - TLV8 "
      "IPBlob IPArray IPObject -",
      "- BTLEPrimitive6 BTLEPrimitive0 BTLEPrimitive1 BTLEPrimitive2 BTLEPrimitive3 "
      "BTLEPrimitive4 BTLEPrimitive5 BTLEString - TLV8 BTLEData - - -",
      none,
      "- - TLV8Primitive0 TLV8Primitive1 TLV8Primitive2 TLV8Primitive3 TLV8Primitive4 "
      "TLV8Primitive5 TLV8String - TLV8TLV8 TLV8Data - - -",
      none,
  };
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    const auto transport = static_cast<QVTransport>(i);
    QVTransformerList list;
    std::vector<QVFormatType> expectedFormats;
    for (int number = 0; number < 15; ++number) {
      const auto format = static_cast<QVFormatType>(number);
      list.push_back(QVTransformer::transformerForTransport(transport, format));
      EXPECT_EQ(list.back(), QVTransformer::transformerForTransport(transport, format));
      if (list.back() == nullptr) continue;
      expectedFormats.push_back(format);
      EXPECT_EQ(list.back()->transport(), transport);
      EXPECT_EQ(list.back()->format(), format);
    }
    EXPECT_EQ(namesOf(list), rows[i]);
    const auto formats = QVTransformer::transformableFormatsForTransport(transport);
    EXPECT_EQ(formats.has_value(), !expectedFormats.empty()) << i;
    EXPECT_THAT(formats.value_or(std::vector<QVFormatType>()),
                testing::UnorderedElementsAreArray(expectedFormats));
  }
  EXPECT_EQ(QVTransformer::_transformerMapping().size(), 3u);
}

TEST(QVTransformerRegistryTest, SharedInstancesAreNewOnesInTheOrderOfTheirTypes) {
  EXPECT_EQ(QVTransformer::sharedInstances(), std::nullopt);
  EXPECT_EQ(QVIPTransformer::sharedInstances(), QVTransformerList());
  EXPECT_EQ(QVBTLETransformer::sharedInstances(), QVTransformerList());
  EXPECT_EQ(namesOf(QVIPNumberTransformer::sharedInstances()),
            "IPNumber0 IPNumber1 IPNumber2 IPNumber3 IPNumber4 IPNumber5 IPNumber6");
  EXPECT_EQ(namesOf(QVBTLEPrimitiveTransformer::sharedInstances()),
            "BTLEPrimitive0 BTLEPrimitive1 BTLEPrimitive2 BTLEPrimitive3 BTLEPrimitive4 "
            "BTLEPrimitive5 BTLEPrimitive6");
  EXPECT_EQ(namesOf(QVTLV8PrimitiveTransformer::sharedInstances()),
            "TLV8Primitive0 TLV8Primitive1 TLV8Primitive2 TLV8Primitive3 TLV8Primitive4 "
            "TLV8Primitive5");
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
