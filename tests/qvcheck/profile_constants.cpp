// Uses the headers that the build makes out of profiles: as C++17, with every warning an error.

#include "awkward_constants.h"
#include "household_constants.h"
#include "lamp_constants.h"

namespace {

namespace effect = profile::enums::LampEffect;
static_assert(effect::Candle == 1 && effect::Breathe == 3);
static_assert(profile::enums::LampWeekdays::Sunday == 0x40);

namespace label = profile::tlv8s::LampSchedule::Label;
static_assert(label::kType == 4 && label::kName == "Label" && label::kMaximumLength == 20);
static_assert(label::kFormat == profile::Format::string);
static_assert(profile::tlv8s::LampSchedule::Effect::Values::Sunrise == 2);

namespace characteristics = profile::characteristics;
static_assert(characteristics::LampOn::kUUID == "0000a101-0000-1000-8000-0a3f5c91d270");
static_assert(characteristics::IPLampLevel::kMaximum == 100 &&
              characteristics::IPLampLevel::kStep == 1 &&
              characteristics::BTLELampLevel::kStep == 5);
static_assert(characteristics::IPLampLevel::kUnit == "percentage");
static_assert(characteristics::BTLEAccessoryName::kMaximumLength == 20);
static_assert(characteristics::LampSchedule::kPermissions ==
              (profile::permissions::pr | profile::permissions::pw));
static_assert(characteristics::IPLampSchedule::Structure::Days::kType == 1);

namespace lamp = profile::services::Lamp;
static_assert(lamp::kUTI == "com.example.home.service.lamp");
static_assert(lamp::IP::kOptional.size() == 3 && lamp::BTLE::kOptional.size() == 1);
static_assert(lamp::IP::kRequired[0] == characteristics::IPLampOn::kUUID);

namespace odd = acme::awkward;
static_assert(odd::enums::class_::Off_2 == 2 && odd::enums::class_::Wide == 300);
static_assert(odd::enums::Longs::Least == INT64_MIN && odd::enums::Longs::Most == INT64_MAX);
static_assert(odd::enums::Top::Bit == 0x8000000000000000U && odd::enums::class_2::Over == 256);
static_assert(odd::enums::Truth::true_ && odd::enums::Ratio::Two == 2.0);
static_assert(odd::enums::Words::Quoted == "a\"b\\c\?\?/\t\303\251");
static_assert(odd::characteristics::BTLEAngle_degrees_::kMaximum == 300 &&
              odd::characteristics::IPAngle_degrees_::kMaximum == 300.0F);
static_assert(household::tlv8s::Pairing::State::kType == 1);

}  // namespace
