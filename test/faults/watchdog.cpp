#include "test/faults/watchdog.h"

#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdlib>

// Both are there only where a sanitizer is. GCC's header for them is no help: it declares, and does not make weak.
extern "C" __attribute__((weak)) void __sanitizer_set_report_fd(void* file);
extern "C" __attribute__((weak)) void __sanitizer_set_death_callback(void (*callback)());

namespace {

const Watchdog* g_watchdog = nullptr;

// Standard error as it was when the program started.
int RealStandardError() {
  static const int file = dup(STDERR_FILENO);
  return file;
}

void Tell(const std::string& text) {
  [[maybe_unused]] const ssize_t written = write(RealStandardError(), text.data(), text.size());
}

void TellStory() {
  if (g_watchdog != nullptr) Tell("\nThe process ends in the middle of this:\n" + g_watchdog->Story());
}

// The story is told in a signal handler, which is not what handlers may do; the process is lost anyway.
void TellStoryAndDie(int signal) {
  std::signal(signal, SIG_DFL);
  TellStory();
  raise(signal);
}

// Leaves alone what a sanitizer has taken.
void CatchSignal(int signal) {
  const auto handler = std::signal(signal, TellStoryAndDie);
  if (handler != SIG_DFL) std::signal(signal, handler);
}

}  // namespace

Watchdog::Watchdog(std::chrono::seconds limit) : limit_(limit) {
  g_watchdog = this;
  const auto file = static_cast<uintptr_t>(RealStandardError());
  if (&__sanitizer_set_report_fd != nullptr) __sanitizer_set_report_fd(reinterpret_cast<void*>(file));
  if (&__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(TellStory);
  for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE}) CatchSignal(signal);
  thread_ = std::thread([this] { Watch(); });
}

Watchdog::~Watchdog() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    over_ = true;
  }
  changed_.notify_all();
  thread_.join();
  g_watchdog = nullptr;
}

void Watchdog::BeginStory(const std::string& title) {
  const std::lock_guard<std::mutex> lock(mutex_);
  story_ = title + "\n";
  ++steps_;
}

void Watchdog::Step(const std::string& line) {
  const std::lock_guard<std::mutex> lock(mutex_);
  story_ += "  " + line + "\n";
  ++steps_;
}

std::string Watchdog::Story() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return story_;
}

void Watchdog::Watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!over_) {
    const long steps_before = steps_;
    const bool in_time = changed_.wait_for(lock, limit_, [this] { return over_; }) || steps_ != steps_before;
    if (in_time) continue;
    lock.unlock();
    Tell("\nNo step has ended for " + std::to_string(limit_.count()) + " seconds.");
    std::abort();
  }
}
