#include "tests/capture/packet_language.h"

#include <fmt/format.h>

#include <charconv>
#include <map>
#include <sstream>

#include "capture/packets/packet_segments.h"
#include "qvparsersupport/common/escape.h"

namespace qv::capture::test {
namespace {

// A word "name:first,key=value".
struct Word {
  std::string name;
  std::vector<std::string> arguments;

  explicit Word(const std::string& text) : name(text.substr(0, text.find(':'))) {
    if (name.size() == text.size() || text[0] == '"') return;
    std::istringstream rest(text.substr(name.size() + 1));
    for (std::string argument; std::getline(rest, argument, ',');) arguments.push_back(argument);
  }
  std::string argument(std::size_t index, const std::string& otherwise = "0") const {
    return index < arguments.size() ? arguments[index] : otherwise;
  }
  std::string value(const std::string& key, const std::string& otherwise = "0") const {
    for (const std::string& each : arguments) {
      if (each.starts_with(key + "=")) return each.substr(key.size() + 1);
    }
    return otherwise;
  }
};

std::uint64_t numberOf(const std::string& text, int base = 10) {
  std::uint64_t number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number, base).ptr;
  EXPECT_EQ(end, text.data() + text.size()) << text;
  return number;
}

void put(Bytes& bytes, std::uint64_t number, std::size_t size, bool bigEndian = true) {
  for (std::size_t index = 0; index < size; ++index) {
    const std::size_t shift = 8 * (bigEndian ? size - 1 - index : index);
    bytes.push_back(static_cast<std::uint8_t>(number >> shift));
  }
}

Bytes hex(const std::string& text) {
  Bytes bytes;
  for (std::size_t at = 0; at < text.size(); at += 2)
    put(bytes, numberOf(text.substr(at, 2), 16), 1);
  return bytes;
}

Bytes& operator+=(Bytes& bytes, const Bytes& more) {
  bytes.insert(bytes.end(), more.begin(), more.end());
  return bytes;
}

Bytes address(const std::string& prefix, std::uint8_t last, std::size_t size) {
  Bytes bytes = hex(prefix);
  bytes.resize(size - 1);
  bytes.push_back(last);
  return bytes;
}

// One line of a file on its way to bytes.
struct Part {
  Bytes bytes;
  std::size_t length = SIZE_MAX;  // on the wire, where it was cut
  std::uint64_t high = 0;         // of the time, or its seconds
  std::uint64_t low = 0;
  std::uint64_t copies = 1;

  void prepend(Bytes header) { bytes = header += bytes; }

  void apply(const Word& word) {
    Bytes header;
    const std::string& name = word.name;
    if (name == "eth") {
      header = hex("020000000001020000000002" + word.argument(0));
    } else if (name == "sll") {
      header = hex("0000000100060200000000020000" + word.argument(0));
    } else if (name == "sll2") {
      header = hex(word.argument(0) + "0000000000010001000602000000000200" + "00");
    } else if (name == "ip4") {
      const Bytes options = hex(word.value("opt", ""));
      put(header, 0x4500 + options.size() / 4 * 0x100, 2);
      put(header, numberOf(word.value("len", std::to_string(20 + options.size() + bytes.size()))),
          2);
      put(header, 7, 2);
      header += hex(word.value("frag", "4000") + "40");
      put(header, numberOf(word.value("proto", "6")), 1);
      header += hex("0000");
      header += address("c00002", 1, 4);
      header += address("c00002", 2, 4);
      header += options;
    } else if (name == "ip6") {
      header = hex("60000000");
      put(header, numberOf(word.value("len", std::to_string(bytes.size()))), 2);
      put(header, numberOf(word.value("next", "6")), 1);
      header += hex("40");
      header += address("20010db8", 1, 16);
      header += address("20010db8", 2, 16);
    } else if (name == "tcp") {
      const Bytes options = hex(word.value("opt", ""));
      header = hex("c0000050");
      put(header, numberOf(word.value("seq", "1")), 4);
      put(header, 2, 4);
      put(header, 0x50 + options.size() / 4 * 0x10, 1);
      header += hex(word.value("flags", "10") + "1000" + "0000" + "0000");
      header += options;
    } else if (name == "zero") {
      header.resize(numberOf(word.argument(0)));
    } else if (name == "cut") {
      length = bytes.size();
      bytes.resize(std::min<std::size_t>(length, numberOf(word.argument(0))));
    } else if (name == "part") {
      const Word range("range:" + word.argument(0));
      const std::string text = range.argument(0);
      const std::size_t dash = text.find('-');
      bytes.resize(numberOf(text.substr(dash + 1)));
      bytes.erase(bytes.begin(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(numberOf(text.substr(0, dash))));
    } else if (name == "at") {
      low = numberOf(word.argument(word.arguments.size() - 1));
      high = word.arguments.size() > 1 ? numberOf(word.argument(0)) : low >> 32;
    } else if (name == "copies") {
      copies = numberOf(word.argument(0));
    } else if (name[0] == '"') {
      const ByteView text = bytesOf(name).subspan(1, name.size() - 2);
      header.assign(text.begin(), text.end());
    } else if (name[0] == 'x') {
      header = hex(name.substr(1));
    } else {
      ADD_FAILURE() << name;
    }
    prepend(header);
  }
};

// The file so far; the lines share its byte order.
struct File {
  Bytes bytes;
  bool bigEndian = false;
  bool modified = false;

  void number(std::uint64_t value, std::size_t size) { put(bytes, value, size, bigEndian); }

  void append(const Word& kind, Part part) {
    const std::size_t length = std::min(part.length, part.bytes.size() + part.length);
    const std::size_t onWire = part.length == SIZE_MAX ? part.bytes.size() : length;
    if (kind.name == "pcap" || kind.name == "shb") bigEndian = kind.argument(0) == "BE";
    if (kind.name == "pcap") {
      const std::string form = kind.argument(1);
      modified = form == "mod";
      number(form == "ns" ? 0xa1b23c4d : modified ? 0xa1b2cd34 : 0xa1b2c3d4, 4);
      number(2, 2);
      number(4, 2);
      number(0, 8);
      number(numberOf(kind.argument(3, "262144")), 4);
      number(numberOf(kind.argument(2)), 4);
      bytes += part.bytes;
    } else if (kind.name == "packet") {
      for (const std::uint64_t each : {part.high, part.low, part.bytes.size(), onWire})
        number(each, 4);
      if (modified) number(0, 8);
      bytes += part.bytes;
    } else if (kind.name == "raw") {
      bytes += part.bytes;
    } else {
      appendBlock(kind, part, onWire);
    }
  }

  void appendBlock(const Word& kind, const Part& part, std::size_t onWire) {
    File body{.bytes = {}, .bigEndian = bigEndian, .modified = false};
    static const std::map<std::string, std::uint32_t> types = {
        {"shb", 0x0a0d0d0a}, {"idb", 1}, {"pb", 2}, {"spb", 3}, {"epb", 6}};
    const auto known = types.find(kind.name);
    const std::uint64_t type =
        known != types.end() ? known->second : numberOf(kind.argument(0), 16);
    const std::uint64_t argument =
        known != types.end() && kind.name != "shb" ? numberOf(kind.argument(0)) : 0;
    if (kind.name == "shb") {
      body.number(0x1a2b3c4d, 4);
      body.number(1, 4);
      if (bigEndian)
        std::swap(body.bytes[4], body.bytes[6]), std::swap(body.bytes[5], body.bytes[7]);
      body.number(UINT64_MAX, 8);
    } else if (kind.name == "idb") {
      body.number(argument, 2);
      body.number(0, 2);
      body.number(numberOf(kind.argument(1)), 4);
    } else if (kind.name == "spb") {
      body.number(onWire, 4);
    } else if (kind.name == "epb" || kind.name == "pb") {
      if (kind.name == "epb") body.number(argument, 4);
      if (kind.name == "pb") body.number(argument, 2), body.number(0xffff, 2);
      for (const std::uint64_t each : {part.high, part.low, part.bytes.size(), onWire})
        body.number(each, 4);
    }
    body.bytes += part.bytes;
    body.bytes.resize((body.bytes.size() + 3) / 4 * 4);
    number(type, 4);
    number(body.bytes.size() + 12, 4);
    bytes += body.bytes;
    number(body.bytes.size() + 12, 4);
  }
};

}  // namespace

Bytes packetFileOf(const qv::test::Case& lines) {
  File file;
  for (const std::string& line : lines) {
    std::istringstream text(line);
    std::vector<std::string> words;
    for (std::string word; text >> word;) words.push_back(word);
    Part part;
    for (std::size_t index = words.size(); index-- > 1;) part.apply(Word(words[index]));
    for (std::uint64_t copy = 0; copy < part.copies; ++copy) file.append(Word(words[0]), part);
  }
  return file.bytes;
}

std::string segmentsOf(std::shared_ptr<ByteSource> source) {
  std::optional<std::string> error;
  const auto segments = PacketSegments::open(std::move(source), &error);
  if (segments == nullptr) return textOrNull(error) + "\n";
  std::string text;
  while (const auto segment = segments->next()) {
    const auto time = segment->place.timeNs;
    text += fmt::format("{} {} {}>{} seq {} ack {} {}{}{}{} \"{}\" of {}\n", segment->place.number,
                        time ? fmt::format("@{}", *time) : "-", segment->source.text(),
                        segment->destination.text(), segment->sequence, segment->acknowledgement,
                        segment->syn ? "S" : "", segment->ack ? "A" : "", segment->fin ? "F" : "",
                        segment->rst ? "R" : "", textOf(segment->payload), segment->payloadLength);
  }
  EXPECT_FALSE(segments->next());
  static const char* const kKinds[] = {"truncated", "unreadable", "unsupported", "conflict",
                                       "limit"};
  while (const auto note = segments->nextNote()) {
    text += fmt::format("{} @{}+{} packet {}: {}\n", kKinds[static_cast<std::size_t>(note->kind)],
                        note->offset, note->length, note->place.number, note->text);
  }
  return text + fmt::format("{}, {} packets\n", segments->format(), segments->packets());
}

}  // namespace qv::capture::test
