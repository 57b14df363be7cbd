// The classic packet file, read by libpcap (pcap-savefile(5)).
#include <pcap/pcap.h>
#include <stdio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "capture/packets/packet_reader.h"
#include "capture/packets/wire_numbers.h"

namespace qv::capture {
namespace {

constexpr std::size_t kFileHeader = 24;
constexpr std::size_t kSnapshotLength = 16;  // where it stands
constexpr std::size_t kRecordHeader = 16;
constexpr std::size_t kModifiedRecordHeader = 24;
constexpr std::size_t kBuffer = std::size_t{64} << 10;

constexpr std::uint32_t kMicroseconds = 0xa1b2c3d4;
constexpr std::uint32_t kNanoseconds = 0xa1b23c4d;
constexpr std::uint32_t kModified = 0xa1b2cd34;

bool beginsWith(ByteView beginning, std::uint32_t magic) {
  return beginning.size() >= sizeof magic &&
         (numberAt<std::uint32_t>(beginning, 0, true) == magic ||
          numberAt<std::uint32_t>(beginning, 0, false) == magic);
}

// What the FILE that libpcap reads stands on: the file header, then the rest of the source.
struct PcapInput {
  std::shared_ptr<ByteSource> source;
  std::array<std::uint8_t, kFileHeader> header{};
  std::size_t headerSize = 0;
  std::size_t headerGiven = 0;
  std::uint64_t bytesRead = 0;
  bool ended = false;
  std::exception_ptr exception;  // on its way past libpcap

  std::size_t read(std::span<std::uint8_t> destination) {
    if (headerGiven < headerSize) {
      const std::size_t count = std::min(destination.size(), headerSize - headerGiven);
      std::copy_n(header.data() + headerGiven, count, destination.data());
      headerGiven += count;
      return count;
    }
    const std::size_t count = source->read(destination);
    bytesRead += count;
    if (count == 0) ended = true;
    return count;
  }
};

extern "C" ssize_t readPcapInput(void* cookie, char* buffer, std::size_t size) {
  auto& input = *static_cast<PcapInput*>(cookie);
  try {
    return static_cast<ssize_t>(input.read({reinterpret_cast<std::uint8_t*>(buffer), size}));
  } catch (...) {
    input.exception = std::current_exception();
    errno = ENOMEM;
    return -1;
  }
}

class PcapReader final : public PacketReader {
 public:
  explicit PcapReader(std::shared_ptr<ByteSource> source) { input_.source = std::move(source); }
  ~PcapReader() override {
    if (pcap_ != nullptr) pcap_close(pcap_);  // closes the file
  }
  PcapReader(const PcapReader&) = delete;
  PcapReader& operator=(const PcapReader&) = delete;

  bool open(ErrorSlot errorDescription) {
    if (!readHeader()) {
      return fail(errorDescription, input_.source->error().value_or(kHeaderCut));
    }
    std::FILE* file =
        fopencookie(&input_, "rb",
                    {.read = readPcapInput, .write = nullptr, .seek = nullptr, .close = nullptr});
    if (file == nullptr) throw std::bad_alloc();
    // A read of a buffered FILE waits for what it needs, not for a full buffer.
    std::setvbuf(file, buffer_.get(), _IOFBF, kBuffer);
    char text[PCAP_ERRBUF_SIZE] = "";
    pcap_ = pcap_fopen_offline_with_tstamp_precision(file, PCAP_TSTAMP_PRECISION_NANO, text);
    if (pcap_ == nullptr) std::fclose(file);
    passOnException();
    if (pcap_ == nullptr) return fail(errorDescription, input_.source->error().value_or(text));
    linkType_ = static_cast<std::uint32_t>(pcap_datalink(pcap_));
    return true;
  }

  bool next(Packet& packet) override {
    if (endNote_ || ended_) return false;
    pcap_pkthdr* header = nullptr;
    const u_char* bytes = nullptr;
    const int result = pcap_next_ex(pcap_, &header, &bytes);
    passOnException();
    if (result != 1) {
      finish(result);
      return false;
    }
    ++packets_;
    position_ += recordHeader_ + header->caplen;
    // The seconds of a file are unsigned, those of a timeval are not.
    const std::int64_t seconds = static_cast<std::uint32_t>(header->ts.tv_sec);
    packet.place = {
        .number = packets_,
        .timeNs = seconds * 1'000'000'000 + static_cast<std::int64_t>(header->ts.tv_usec)};
    packet.linkType = linkType_;
    packet.bytes = {bytes, header->caplen};
    packet.length = std::max(header->len, header->caplen);
    packet.problem = nullptr;
    return true;
  }

  std::optional<InputNote> endNote() const override { return endNote_; }
  std::string_view format() const override { return "pcap"; }

 private:
  bool readHeader() {
    auto& header = input_.header;
    while (input_.headerSize < header.size()) {
      const std::size_t count = input_.source->read(std::span(header).subspan(input_.headerSize));
      if (count == 0) return false;
      input_.headerSize += count;
      input_.bytesRead += count;
    }
    if (beginsWith(header, kModified)) recordHeader_ = kModifiedRecordHeader;
    // Some files hold packets that are longer than they announce; libpcap would cut them. 0 stands
    // for its own limit.
    std::fill_n(header.begin() + kSnapshotLength, 4, std::uint8_t{0});
    return true;
  }

  void finish(int result) {
    ended_ = true;
    if (result == PCAP_ERROR_BREAK) return;
    endNote_ = input_.ended ? endsInside(position_, input_.bytesRead, packets_, *input_.source)
                            : unreadableFrom(position_, packets_, pcap_geterr(pcap_));
  }

  void passOnException() {
    if (input_.exception) std::rethrow_exception(std::exchange(input_.exception, nullptr));
  }

  PcapInput input_;
  std::unique_ptr<char[]> buffer_ = std::make_unique_for_overwrite<char[]>(kBuffer);
  pcap_t* pcap_ = nullptr;
  std::uint32_t linkType_ = 0;
  std::size_t recordHeader_ = kRecordHeader;
  std::uint64_t position_ = kFileHeader;  // behind the last packet
  std::uint64_t packets_ = 0;
  bool ended_ = false;
  std::optional<InputNote> endNote_;
};

}  // namespace

bool beginsLikePcap(ByteView beginning) {
  return beginsWith(beginning, kMicroseconds) || beginsWith(beginning, kNanoseconds) ||
         beginsWith(beginning, kModified);
}

std::unique_ptr<PacketReader> openPcap(std::shared_ptr<ByteSource> source,
                                       ErrorSlot errorDescription) {
  auto reader = std::make_unique<PcapReader>(std::move(source));
  if (!reader->open(errorDescription)) return nullptr;
  return reader;
}

}  // namespace qv::capture
