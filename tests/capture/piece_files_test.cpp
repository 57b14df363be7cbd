#include "capture/piece_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/temporary_folder.h"

namespace qv::capture::test {
namespace {

std::string namesOf(const char* kind, const std::vector<std::string>& paths) {
  if (paths.empty()) return {};
  std::string names = kind;
  for (const std::string& path : paths) {
    names += " " + std::filesystem::path(path).filename().string();
  }
  return names + "\n";
}

TEST(PieceFiles, AreOrderedByTheirNumbers) {
  qv::test::expectAnswers("records/pieces.txt", [](const qv::test::Case& input) {
    const qv::test::TemporaryFolder folder;
    std::istringstream names(input.at(0));
    for (std::string name; names >> name;) {
      if (name.ends_with('/')) {
        std::filesystem::create_directory(folder.path(name));
      } else {
        folder.write(name, bytesOf(name));
      }
    }
    std::optional<std::string> error;
    const auto pieces = piecesIn(folder.path(""), &error);
    if (!pieces) return "refused: " + error.value();
    return namesOf("requests", pieces->requests) + namesOf("responses", pieces->responses) +
           namesOf("others", pieces->others);
  });
}

TEST(FilesSource, ReadsOneFileBehindTheOther) {
  const qv::test::TemporaryFolder folder;
  const Bytes compressed = qv::test::readableBytes(
      R"(\x1f\x8b\x08\x00\x00\x00\x00\x00\x02\x03KLJ\x06\x00\xc2A$5\x03\x00\x00\x00)");
  const std::string missing = folder.path("missing");
  FilesSource source({folder.write("1", bytesOf("12345")), folder.write("2", {}),
                      folder.write("3", compressed), missing, folder.path("1")});
  std::string text;
  Bytes piece(4);
  while (const std::size_t count = source.read(piece)) text += textOf(ByteView(piece).first(count));
  EXPECT_EQ(text, "12345abc");
  EXPECT_EQ(source.error(), missing + ": No such file or directory");
  const std::pair<std::uint64_t, FilesSource::Place> places[] = {
      {0, {folder.path("1"), 0}},
      {4, {folder.path("1"), 4}},
      {5, {folder.path("3"), 0}},
      {8, {folder.path("3"), 3}},
  };
  for (const auto& [offset, expected] : places) {
    EXPECT_EQ(source.placeOf(offset).path, expected.path) << offset;
    EXPECT_EQ(source.placeOf(offset).offset, expected.offset) << offset;
  }
}

}  // namespace
}  // namespace qv::capture::test
