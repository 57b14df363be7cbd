#include "qvparsersupport/json/validation_guard.h"

#ifndef NDEBUG

#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <thread>

namespace qv {

namespace {

std::atomic<std::thread::id> readingThread;
thread_local std::size_t readingDepth = 0;

}  // namespace

JSONValidationGuard::JSONValidationGuard() {
  if (readingDepth++ > 0) return;
  std::thread::id none;
  if (readingThread.compare_exchange_strong(none, std::this_thread::get_id())) return;
  std::fputs("QVParserSupport: two threads validate JSON bodies at the same time\n", stderr);
  std::abort();
}

JSONValidationGuard::~JSONValidationGuard() {
  if (--readingDepth == 0) readingThread = std::thread::id();
}

}  // namespace qv

#endif
