#include "capture/io/gzip_source.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <array>

namespace qv::capture::test {
namespace {

std::string gzipped(std::string_view text) {
  z_stream stream{};
  EXPECT_EQ(deflateInit2(&stream, 9, Z_DEFLATED, MAX_WBITS + 16, 9, Z_DEFAULT_STRATEGY), Z_OK);
  std::string result(deflateBound(&stream, text.size()) + 32, '\0');
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  stream.next_out = reinterpret_cast<Bytef*>(result.data());
  stream.avail_out = static_cast<uInt>(result.size());
  EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
  result.resize(stream.total_out);
  deflateEnd(&stream);
  return result;
}

// The bytes, then the error in brackets.
std::string inflated(std::string_view file, std::size_t pieceSize) {
  const ByteView bytes = bytesOf(file);
  GzipSource source(std::make_shared<MemorySource>(Bytes(bytes.begin(), bytes.end()), pieceSize));
  std::string text;
  std::array<std::uint8_t, 7> piece;
  while (const std::size_t count = source.read(piece)) {
    text += textOf(ByteView(piece).first(count));
  }
  EXPECT_EQ(source.read(piece), 0u);
  return source.error() ? text + "[" + *source.error() + "]" : text;
}

TEST(GzipSource, InflatesMembersUntilTheyAreDamaged) {
  const std::string member = gzipped("GET /accessories");
  std::string damaged = member;
  damaged[damaged.size() - 8] ^= 1;  // the check sum
  const struct {
    std::string file;
    std::string text;
  } rows[] = {
      {member, "GET /accessories"},
      {member + member, "GET /accessoriesGET /accessories"},
      {gzipped("") + member + gzipped(""), "GET /accessories"},
      {member + std::string(512, '\0'), "GET /accessories"},
      {member + "garbage", "GET /accessories[no gzip data stands at byte 36]"},
      {"", "[the gzip data ends too early]"},
      {member.substr(0, 5), "[the gzip data ends too early]"},
      {member.substr(0, member.size() - 1), "GET /accessories[the gzip data ends too early]"},
      {damaged, "GET /accessories[the gzip data is damaged before byte 32: incorrect data check]"},
      {"\x1f\x8b\x09" + member.substr(3),
       "[the gzip data is damaged before byte 4: unknown compression method]"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(inflated(row.file, SIZE_MAX), row.text);
    EXPECT_EQ(inflated(row.file, 1), row.text);
  }
}

}  // namespace
}  // namespace qv::capture::test
