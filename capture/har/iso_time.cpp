#include "capture/har/iso_time.h"

#include <chrono>
#include <cstddef>

namespace qv::capture {

namespace {

// Reads a text from its front; after the first mismatch nothing fits any more.
class Fields {
 public:
  explicit Fields(std::string_view text) : rest_(text) {}

  bool fits() const { return fits_; }
  bool atEnd() const { return rest_.empty(); }
  char front() const { return rest_.empty() ? '\0' : rest_.front(); }
  bool skip(char expected) {
    if (front() != expected) return false;
    rest_.remove_prefix(1);
    return true;
  }
  void require(bool condition) { fits_ = fits_ && condition; }

  int number(std::size_t digits, int atLeast, int atMost) {
    int value = 0;
    for (std::size_t i = 0; i < digits; ++i) value = value * 10 + digit();
    require(value >= atLeast && value <= atMost);
    return value;
  }
  bool isDigit() const { return front() >= '0' && front() <= '9'; }
  int digit() {
    require(isDigit());
    if (!fits_) return 0;
    const int value = front() - '0';
    rest_.remove_prefix(1);
    return value;
  }

 private:
  std::string_view rest_;
  bool fits_ = true;
};

std::chrono::sys_days readDate(Fields& fields) {
  const int year = fields.number(4, 1678, 2261);
  fields.require(fields.skip('-'));
  const int month = fields.number(2, 1, 12);
  fields.require(fields.skip('-'));
  const int day = fields.number(2, 1, 31);
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  fields.require(date.ok());
  return date;
}

std::int64_t readFraction(Fields& fields) {
  if (!fields.skip('.') && !fields.skip(',')) return 0;
  fields.require(fields.isDigit());
  std::int64_t nanoseconds = 0;
  for (std::int64_t unit = 100'000'000; fields.fits() && fields.isDigit(); unit /= 10) {
    nanoseconds += unit * fields.digit();
  }
  return nanoseconds;
}

std::int64_t readOffsetMinutes(Fields& fields) {
  if (fields.skip('Z') || fields.skip('z')) return 0;
  const int sign = fields.front() == '-' ? -1 : 1;
  fields.require(fields.skip('+') || fields.skip('-'));
  const std::int64_t hours = fields.number(2, 0, 23);
  fields.skip(':');
  return sign * (hours * 60 + fields.number(2, 0, 59));
}

}  // namespace

std::optional<std::int64_t> timeFromISO8601(std::string_view text) {
  Fields fields(text);
  const std::int64_t days = readDate(fields).time_since_epoch().count();
  fields.require(fields.skip('T') || fields.skip('t') || fields.skip(' '));
  const std::int64_t hours = days * 24 + fields.number(2, 0, 23);
  fields.require(fields.skip(':'));
  std::int64_t minutes = hours * 60 + fields.number(2, 0, 59);
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
  if (fields.skip(':')) {
    seconds = fields.number(2, 0, 60);
    nanoseconds = readFraction(fields);
  }
  minutes -= readOffsetMinutes(fields);
  if (!fields.fits() || !fields.atEnd()) return std::nullopt;
  return (minutes * 60 + seconds) * 1'000'000'000 + nanoseconds;
}

}  // namespace qv::capture
