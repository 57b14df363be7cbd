#include "capture/io/byte_source.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <string>

#include "tests/support/temporary_folder.h"

namespace qv::capture::test {
namespace {

std::string readAll(ByteSource& source) {
  std::string text;
  std::array<std::uint8_t, 5> piece;
  while (const std::size_t count = source.read(piece)) {
    text += textOf(ByteView(piece).first(count));
  }
  return text;
}

TEST(FileSource, ReadsAFileInPieces) {
  const qv::test::TemporaryFolder folder;
  const std::string content = "HTTP/1.1 200 OK";
  std::optional<std::string> error;
  const auto source = FileSource::open(folder.write("file", bytesOf(content)), &error);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(readAll(*source), content);
  EXPECT_EQ(source->error(), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
}

TEST(FileSource, AnswersFailuresAsTexts) {
  std::optional<std::string> error;
  EXPECT_EQ(FileSource::open(testing::TempDir() + "no/such/file", &error), nullptr);
  EXPECT_EQ(error, "No such file or directory");

  const auto directory = FileSource::open(testing::TempDir());
  ASSERT_NE(directory, nullptr);
  EXPECT_EQ(readAll(*directory), "");
  EXPECT_EQ(directory->error(), "Is a directory");
}

TEST(FileSource, GivesWhatAPipeHoldsAndEndsWhereItIsInterrupted) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const auto source = FileSource::open("/dev/fd/" + std::to_string(ends[0]));
  ASSERT_NE(source, nullptr);
  ASSERT_EQ(write(ends[1], "EVE", 3), 3);
  std::array<std::uint8_t, 5> piece;
  EXPECT_EQ(source->read(piece), 3u);

  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction before {};
  sigaction(SIGALRM, &action, &before);
  const itimerval often{{0, 10000}, {0, 10000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_EQ(source->read(piece), 0u);
  const itimerval never{};
  setitimer(ITIMER_REAL, &never, nullptr);
  sigaction(SIGALRM, &before, nullptr);
  EXPECT_EQ(source->error(), "interrupted");
  close(ends[0]);
  close(ends[1]);
}

TEST(PeekedSource, GivesWhatWasLookedAtAgain) {
  const auto bytes = bytesOf("HTTP/1.1 200 OK");
  PeekedSource source(std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), 4));
  EXPECT_EQ(textOf(source.peek(2)), "HT");
  EXPECT_EQ(source.bytesRead(), 2u);
  std::array<std::uint8_t, 1> first;
  EXPECT_EQ(source.read(first), 1u);
  EXPECT_EQ(textOf(source.peek(8)), "TTP/1.1 ");
  EXPECT_EQ(readAll(source), "TTP/1.1 200 OK");
  EXPECT_EQ(textOf(source.peek(8)), "");
  EXPECT_EQ(source.bytesRead(), bytes.size());
}

}  // namespace
}  // namespace qv::capture::test
