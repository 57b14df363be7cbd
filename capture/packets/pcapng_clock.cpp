#include "capture/packets/pcapng_clock.h"

#include <limits>

namespace qv::capture {
namespace {

__extension__ using Wide = __int128;
__extension__ using UnsignedWide = unsigned __int128;

constexpr std::uint8_t kBinary = 0x80;
constexpr std::uint64_t kNanoseconds = 1'000'000'000;
constexpr int kNanosecondDigits = 9;

}  // namespace

std::optional<std::int64_t> PcapngClock::timeNs(std::uint64_t units) const {
  UnsignedWide time = units;
  const int power = resolution & ~kBinary;
  if ((resolution & kBinary) != 0) {
    time = time * kNanoseconds >> power;
  } else {
    for (int digit = power; digit < kNanosecondDigits; ++digit) time *= 10;
    for (int digit = kNanosecondDigits; digit < power && time != 0; ++digit) time /= 10;
  }
  const Wide sum = static_cast<Wide>(time) + Wide{offsetSeconds} * Wide{kNanoseconds};
  if (sum > std::numeric_limits<std::int64_t>::max() ||
      sum < std::numeric_limits<std::int64_t>::min()) {
    return std::nullopt;
  }
  return static_cast<std::int64_t>(sum);
}

}  // namespace qv::capture
