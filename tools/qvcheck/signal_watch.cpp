#include "tools/qvcheck/signal_watch.h"

#include <poll.h>

namespace qv::check {

namespace {

volatile std::sig_atomic_t endingSignal = 0;

void noteSignal(int signal) {
  endingSignal = signal;
}

}  // namespace

SignalWatch::SignalWatch() {
  endingSignal = 0;
  struct sigaction action {};
  action.sa_handler = noteSignal;
  for (std::size_t i = 0; i < std::size(kSignals); ++i) {
    sigaction(kSignals[i], nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) sigaction(kSignals[i], &action, nullptr);
  }
}

SignalWatch::~SignalWatch() {
  for (std::size_t i = 0; i < std::size(kSignals); ++i)
    sigaction(kSignals[i], &before_[i], nullptr);
}

int SignalWatch::signal() {
  return endingSignal;
}

// The signals come only while ppoll waits, so none is missed between looking and waiting.
bool SignalWatch::waitFor(int descriptor) {
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  for (const int number : kSignals) sigaddset(&blocked, number);
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  pollfd waiting{descriptor, POLLIN, 0};
  while (signal() == 0 && ppoll(&waiting, 1, nullptr, &before) < 0) {
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return signal() == 0;
}

}  // namespace qv::check
