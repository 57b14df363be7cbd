#include "capture/http/http_conversation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "capture/http/early_end.h"
#include "tests/capture/stream_dump.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"

namespace qv::capture::test {
namespace {

std::string describe(const ExchangeRecord& record) {
  const char* arrow = record.direction == Direction::toAccessory ? "> " : "< ";
  const FramedMessage* message = record.message();
  std::string text = arrow;
  if (message == nullptr) return text + dump(record.item);
  const std::string_view header = textOf(message->header);
  text += header.substr(0, header.find('\r'));
  if (record.requestIndex) text += " #" + std::to_string(*record.requestIndex);
  if (record.answers) text += " -> #" + std::to_string(*record.answers);
  if (!record.unpairedReason.empty()) text += ": " + std::string(record.unpairedReason);
  if (message->framing == BodyFraming::strayAfter204) text += " (stray body)";
  if (const auto early = earlyEndOf(*message)) {
    text += " -- " + early->text + " (" + early->actual + " instead of " + early->expected + ")";
  } else if (!message->complete()) {
    text += " -- " + std::string(completenessText(message->completeness));
  }
  return text + "\n";
}

std::int64_t numberAt(std::string_view text) {
  std::int64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

// The last line of a case, unless the connection is closed.
struct Ending {
  const char* word;
  StreamEnd end;
};
constexpr Ending kEnds[] = {{"stops", StreamEnd::captureStops}, {"reset", StreamEnd::reset}};

// Lines of a case: direction, then how many bytes of the other direction were received ("-" when
// that is not known), then the bytes; or, behind '~', how many bytes are missing.
std::vector<std::string> recordsOf(const qv::test::Case& lines) {
  std::vector<std::string> records;
  const bool partial = lines.front() == "partial";
  const HTTPConversation::Beginning beginning{partial, 0};
  HTTPConversation conversation(1, {beginning, beginning}, {}, [&](const ExchangeRecord& record) {
    records.push_back(describe(record));
  });
  for (const std::string& line : lines) {
    if (line[0] != '>' && line[0] != '<') continue;
    const Direction direction = line[0] == '>' ? Direction::toAccessory : Direction::toController;
    if (line[1] == '~') {
      conversation.skip(direction, static_cast<std::uint64_t>(numberAt(line.substr(3))), {});
      continue;
    }
    const std::size_t blank = line.find(' ', 2);
    std::optional<std::int64_t> acknowledged;
    if (line[2] != '-') acknowledged = numberAt(line.substr(2));
    const Bytes bytes = qv::test::readableBytes(line.substr(blank + 1));
    conversation.feed(direction, bytes, {}, acknowledged);
  }
  const auto end = std::ranges::find(kEnds, lines.back(), &Ending::word);
  const StreamEnd how = end == std::end(kEnds) ? StreamEnd::closed : end->end;
  conversation.finish({how, how});
  return records;
}

std::string report(const qv::test::Case& lines) {
  std::string text;
  for (const std::string& record : recordsOf(lines)) text += record;
  return text;
}

TEST(HTTPConversation, PairsWhatItHears) {
  qv::test::expectAnswers("conversations.txt", report);
}

TEST(HTTPConversation, SaysTheSameHoweverTheDirectionsAreInterleaved) {
  const auto isOfAccessory = [](const std::string& line) { return line[0] == '<'; };
  for (const qv::test::Case& lines : qv::test::casesIn("conversations.txt")) {
    const bool isWhole = std::ranges::all_of(lines, [](const std::string& line) {
      return (line[0] == '>' || line[0] == '<') && line[1] == ' ' && line[2] != '-';
    });
    if (!isWhole) continue;
    const auto records = [&](qv::test::Case order) {
      std::vector<std::string> each = recordsOf(order);
      std::stable_partition(each.begin(), each.end(), isOfAccessory);
      return each;
    };
    const std::vector<std::string> due = records(lines);
    std::vector<char> sides;
    for (const std::string& line : lines) sides.push_back(line[0]);
    std::ranges::sort(sides);
    do {
      qv::test::Case order;
      std::map<char, std::size_t> next;
      for (const char side : sides) {
        std::size_t& at = next[side];
        while (lines[at][0] != side) ++at;
        order.push_back(lines[at++]);
      }
      ASSERT_EQ(records(order), due) << std::string(sides.begin(), sides.end()) << lines[0];
    } while (std::ranges::next_permutation(sides).found);
  }
}

// Wherever bytes are missing, every other one is accounted for, and what is before is as it was.
TEST(HTTPFramer, AccountsForEveryByteAroundAGap) {
  const std::string stream =
      qv::test::contentOf(QV_SOURCE_DIR "/examples/captures/household-clean.rsp");
  const std::vector<StreamItem> whole = framed(Direction::toController, stream);
  std::set<std::string> known;
  for (const StreamItem& item : whole) known.insert(dump(item));
  for (std::size_t begin = 0; begin < stream.size(); begin += 131) {
    for (const std::size_t length : {std::size_t{1}, std::size_t{27}, std::size_t{5000}}) {
      const std::size_t missing = std::min(length, stream.size() - begin);
      HTTPFramer framer(Direction::toController);
      std::vector<StreamItem> items;
      const auto drain = [&] {
        while (auto item = framer.next()) items.push_back(*std::move(item));
      };
      framer.feed(bytesOf(stream).first(begin));
      drain();
      framer.skip(missing);
      drain();
      framer.feed(bytesOf(stream).subspan(begin + missing));
      framer.finish();
      drain();
      ASSERT_TRUE(accountsForEveryByte(items, stream.size())) << begin << " " << missing;
      for (std::size_t i = 0; i < whole.size(); ++i) {
        const auto& message = std::get<FramedMessage>(whole[i]);
        // A 204 may have a body in the gap.
        if (message.endOffset >= begin) break;
        ASSERT_EQ(dump(items[i]), dump(whole[i])) << begin << " " << missing;
      }
      for (const StreamItem& item : items) {
        const auto* message = std::get_if<FramedMessage>(&item);
        if (message == nullptr || !message->complete()) continue;
        ASSERT_TRUE(known.contains(dump(item))) << dump(item);
      }
    }
  }
}

}  // namespace
}  // namespace qv::capture::test
