#include "capture/byte_source.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace qv::capture::test
