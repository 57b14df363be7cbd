#include "tools/qvcheck/signal_watch.h"

namespace qv::check {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM};

volatile std::sig_atomic_t endingSignal = 0;

void noteSignal(int signal) {
  endingSignal = signal;
}

}  // namespace

SignalWatch::SignalWatch() {
  endingSignal = 0;
  struct sigaction action {};
  action.sa_handler = noteSignal;
  for (std::size_t i = 0; i < kCount; ++i) sigaction(kSignals[i], &action, &before_[i]);
}

SignalWatch::~SignalWatch() {
  for (std::size_t i = 0; i < kCount; ++i) sigaction(kSignals[i], &before_[i], nullptr);
}

int SignalWatch::signal() {
  return endingSignal;
}

}  // namespace qv::check
