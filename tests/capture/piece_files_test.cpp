#include "capture/io/piece_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>
#include <string>

#include "capture/capture_folder.h"
#include "tests/support/expectations.h"
#include "tests/support/readable_bytes.h"
#include "tests/support/temporary_folder.h"

namespace qv::capture::test {
namespace {

// A short file of the form.
Bytes contentFor(std::string_view form) {
  static const std::map<std::string_view, std::string_view> kContents = {
      {"pcap", "\xD4\xC3\xB2\xA1"},
      {"har", "{\"log\":{}}"},
      {"ndjson", "{\"type\":\"run\"}\n"},
      {"req", "GET / HTTP/1.1\r\n\r\n"},
      {"text", "Read me\n"},
      {"rsp", "HTTP/1.1 204 No Content\r\n\r\n"},
      {"rest", "ontent\r\n\r\n"},
  };
  const auto content = kContents.find(form);
  const ByteView bytes = bytesOf(content == kContents.end() ? "" : content->second);
  return {bytes.begin(), bytes.end()};
}

// "pcap" of "run.pcap10".
std::string_view extensionOf(std::string_view name) {
  name = name.substr(0, name.find_last_not_of("0123456789") + 1);
  return name.substr(name.rfind('.') + 1);
}

void makeFile(const qv::test::TemporaryFolder& folder, const std::string& word) {
  const std::size_t end = std::min(word.find('='), word.size());
  const std::string name = word.substr(0, end);
  if (name.ends_with('/')) {
    std::filesystem::create_directory(folder.path(name));
  } else {
    const bool isTold = end < word.size();
    folder.write(name, contentFor(isTold ? word.substr(end + 1) : extensionOf(name)));
  }
}

std::string namesOf(const char* kind, const std::vector<std::string>& paths) {
  if (paths.empty()) return {};
  std::string names = kind;
  for (const std::string& path : paths) {
    names += " " + std::filesystem::path(path).filename().string();
  }
  return names;
}

TEST(CaptureFolder, TellsCapturesAndTheirPiecesApart) {
  qv::test::expectAnswers("records/pieces.txt", [](const qv::test::Case& input) {
    const qv::test::TemporaryFolder folder;
    std::istringstream words(input.at(0));
    for (std::string word; words >> word;) makeFile(folder, word);
    std::optional<std::string> error;
    const auto contents = capturesIn(folder.path(""), CaptureForm::automatic, &error);
    if (!contents) return "refused: " + error.value();
    std::string answer;
    const auto add = [&](const std::string& line) { answer += line.empty() ? "" : line + "\n"; };
    for (const FolderCapture& capture : contents->captures) {
      const std::string requests = namesOf("requests", capture.requests);
      const std::string responses = namesOf("responses", capture.responses);
      const bool isPair = !requests.empty() && !responses.empty();
      add(namesOf("files", capture.files) + requests + (isPair ? " " : "") + responses);
    }
    add(namesOf("unknown", contents->unknown));
    add(namesOf("no files", contents->notFiles));
    return answer;
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
