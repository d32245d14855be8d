#ifndef TEST_FAULTS_WATCHDOG_H_
#define TEST_FAULTS_WATCHDOG_H_

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

/// Keeps the story of what a test is doing, and tells it on the real standard error where the process ends before its
/// time: a step that takes longer than `limit` (the watchdog ends the process then), a memory error that a sanitizer
/// finds, a fatal signal, an exception that nobody catches. The sanitizers' own reports go there as well, past any
/// LogCapture.
///
/// The limit is for a step that never ends; one that a busy machine could reach would end good runs.
///
/// Only one may live at a time.
class Watchdog {
 public:
  explicit Watchdog(std::chrono::seconds limit);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  void BeginStory(const std::string& title);
  /// Adds a line to the story: the next step begins.
  void Step(const std::string& line);
  std::string Story() const;

 private:
  void Watch();

  const std::chrono::seconds limit_;
  mutable std::mutex mutex_;
  // Guarded by `mutex_`.
  std::string story_;
  long steps_ = 0;
  bool over_ = false;
  std::condition_variable changed_;
  std::thread thread_;
};

#endif  // TEST_FAULTS_WATCHDOG_H_
