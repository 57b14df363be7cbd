#include "capture/byte_source.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>

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
  std::string path = testing::TempDir() + "qv_byte_source_XXXXXX";
  const int descriptor = mkstemp(path.data());
  ASSERT_GE(descriptor, 0);
  const std::string_view content = "HTTP/1.1 200 OK";
  ASSERT_EQ(write(descriptor, content.data(), content.size()),
            static_cast<ssize_t>(content.size()));
  close(descriptor);

  std::optional<std::string> error;
  const auto source = FileSource::open(path, &error);
  ASSERT_NE(source, nullptr);
  EXPECT_EQ(readAll(*source), content);
  EXPECT_EQ(source->error(), std::nullopt);
  EXPECT_EQ(error, std::nullopt);
  unlink(path.c_str());
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
