#pragma once

#include <csignal>
#include <iterator>

namespace qv::check {

// Lets a run that is interrupted close its report, as long as it lives. A read that waits ends when
// the signal comes. Signals that the caller has ignored, as nohup and shells do, stay ignored.
class SignalWatch {
 public:
  SignalWatch();
  ~SignalWatch();
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  // The number of the signal that came, 0 while none did.
  static int signal();
  // Waits until the descriptor can be read or a signal ends the run, whenever that comes; the
  // latter answers false.
  static bool waitFor(int descriptor);

 private:
  static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};
  struct sigaction before_[std::size(kSignals)]{};
};

}  // namespace qv::check
