#include "tools/qvcheck/named_file.h"

#include <utility>

#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

class WaitingSource : public capture::ByteSource {
 public:
  WaitingSource(std::shared_ptr<capture::FileSource> file, std::function<void()> beforeWaiting)
      : file_(std::move(file)), beforeWaiting_(std::move(beforeWaiting)) {}

  std::size_t read(std::span<std::uint8_t> destination) override {
    beforeWaiting_();
    return SignalWatch::waitFor(file_->descriptor()) ? file_->read(destination) : 0;
  }
  std::optional<std::string> error() const override { return file_->error(); }

 private:
  std::shared_ptr<capture::FileSource> file_;
  std::function<void()> beforeWaiting_;
};

}  // namespace

NamedFile openNamedFile(const std::string& name, std::function<void()> beforeWaiting,
                        ErrorSlot errorDescription) {
  const std::shared_ptr<capture::FileSource> file =
      name == "-" ? capture::FileSource::standardInput()
                  : capture::FileSource::open(name, errorDescription);
  if (file == nullptr) return {};
  if (file->size()) return {file, name == "-"};
  return {std::make_shared<WaitingSource>(file, std::move(beforeWaiting)), true};
}

}  // namespace qv::check
