#include "tools/qvcheck/near_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "qvparsersupport/common/utf8.h"

namespace qv::check {

std::size_t editDistance(std::string_view one, std::string_view other) {
  // Rows of the table of distances between beginnings: the last but one, the last, the current.
  std::vector<std::size_t> earlier;
  std::vector<std::size_t> above(other.size() + 1);
  std::vector<std::size_t> row(other.size() + 1);
  for (std::size_t j = 0; j < row.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= one.size(); ++i) {
    earlier = std::exchange(above, std::exchange(row, std::vector<std::size_t>(row.size())));
    row[0] = i;
    for (std::size_t j = 1; j <= other.size(); ++j) {
      const std::size_t replaced = above[j - 1] + (one[i - 1] == other[j - 1] ? 0 : 1);
      row[j] = std::min({replaced, row[j - 1] + 1, above[j] + 1});
      if (i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1]) {
        row[j] = std::min(row[j], earlier[j - 2] + 1);
      }
    }
  }
  return row.back();
}

std::vector<std::string> nearNames(std::string_view wanted, const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 3;
  constexpr std::size_t kLongest = 64;      // longer texts come near to nothing
  constexpr std::size_t kShortestHeld = 3;  // shorter ones stand in many names
  const std::string lower = lowercased(wanted);
  if (lower.size() < 2 || lower.size() > kLongest) return {};
  std::set<std::pair<std::size_t, std::string_view>> near;
  for (const std::string& name : names) {
    const std::string other = lowercased(name);
    const auto [less, more] = std::minmax({lower.size(), other.size()});
    const std::size_t farthest = std::max<std::size_t>(1, more / 3);
    const std::size_t distance =
        more - less <= farthest && more <= 2 * kLongest ? editDistance(lower, other) : more;
    if (distance <= farthest) {
      near.emplace(distance, name);
    } else if (lower.size() >= kShortestHeld && other.find(lower) != std::string::npos) {
      near.emplace(kLongest, name);
    }
    if (near.size() > kMost) near.erase(std::prev(near.end()));
  }
  std::vector<std::string> result;
  for (const auto& [distance, name] : near) {
    // Others are no likely slips beside one that is much nearer.
    if (distance <= near.begin()->first + 1) result.emplace_back(name);
  }
  return result;
}

std::string didYouMean(const std::vector<std::string>& names) {
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const char* const before = i == 0 ? "did you mean " : i + 1 < names.size() ? ", " : " or ";
    fmt::format_to(std::back_inserter(text), "{}'{}'", before, names[i]);
  }
  return text.empty() ? text : text + "?";
}

}  // namespace qv::check
