#include "host/imu_feed.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "host/host_error.h"

namespace host {

ImuFeed::Clock::time_point ImuFeed::TimeAfter(Clock::time_point origin, double seconds) {
  constexpr double kYear_s = 365.0 * 86400.0;
  const std::chrono::duration<double> after(std::clamp(seconds, -kYear_s, kYear_s));
  return origin + std::chrono::duration_cast<Clock::duration>(after);
}

// ---- RecordedFeed -----------------------------------------------------------------------------------------

RecordedFeed::RecordedFeed(std::vector<ImuSample> samples, bool repeat)
    : samples_(std::move(samples)), repeat_(repeat) {}

std::optional<Orientation> RecordedFeed::TakeDue(Clock::time_point now) {
  if (ended() || now < NextTime()) return std::nullopt;
  const Orientation orientation = samples_[next_++].orientation;
  if (repeat_ && next_ == samples_.size()) {
    next_ = 0;
    // A tenth of a second between the last sample and the first one again, as neither may share its time with
    // the other; also what keeps a run of one sample from repeating without a pause.
    round_start_s_ += length_s() + 0.1;
  }
  return orientation;
}

void RecordedFeed::WaitUntil(Clock::time_point deadline) {
  std::this_thread::sleep_until(ended() ? deadline : std::min(deadline, NextTime()));
}

ImuFeed::Clock::time_point RecordedFeed::NextTime() const {
  return TimeAfter(start_, round_start_s_ + *samples_[next_].seconds - *samples_.front().seconds);
}

// ---- LiveFeed ---------------------------------------------------------------------------------------------

LiveFeed::LiveFeed(int descriptor, std::string source)
    : descriptor_(descriptor),
      stop_event_(eventfd(0, EFD_CLOEXEC)),
      lines_(std::move(source), ImuLineParser::Time::kOptional,
             [this](const ImuSample& sample) { return Enqueue(sample); }) {
  if (stop_event_ < 0) throw HostError(std::string("cannot listen to the sensor: ") + std::strerror(errno));
  thread_ = std::thread([this] { Read(); });
}

LiveFeed::~LiveFeed() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  taken_.notify_one();
  const uint64_t one = 1;
  [[maybe_unused]] const ssize_t written = write(stop_event_, &one, sizeof(one));  // cannot fail: the counter is 0
  thread_.join();
  close(stop_event_);
}

std::optional<Orientation> LiveFeed::TakeDue(Clock::time_point now) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (queue_.empty()) {
    if (!failure_.empty()) throw HostError(std::exchange(failure_, ""));
    return std::nullopt;
  }
  const ImuSample sample = queue_.front();
  if (!first_arrival_ && sample.seconds) {
    first_arrival_ = now;
    first_seconds_ = *sample.seconds;
  }
  if (now < DueTime(sample)) return std::nullopt;
  queue_.pop_front();
  lock.unlock();
  taken_.notify_one();
  return sample.orientation;
}

bool LiveFeed::ended() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return queue_.empty() && input_ended_ && failure_.empty();
}

void LiveFeed::WaitUntil(Clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  if (queue_.empty()) {
    arrived_.wait_until(lock, deadline, [this] { return !queue_.empty() || input_ended_; });
  } else {
    const Clock::time_point due = DueTime(queue_.front());
    lock.unlock();
    std::this_thread::sleep_until(std::min(deadline, due));
  }
}

ImuFeed::Clock::time_point LiveFeed::DueTime(const ImuSample& sample) const {
  if (!sample.seconds || !first_arrival_) return start_;
  return TimeAfter(*first_arrival_, *sample.seconds - first_seconds_);
}

void LiveFeed::Read() {
  std::string failure;
  try {
    ReadLines();
  } catch (const HostError& error) {
    failure = error.what();
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    input_ended_ = true;
    failure_ = failure;
  }
  arrived_.notify_one();
}

// Returns at the end of the input, or when the feed is to stop.
void LiveFeed::ReadLines() {
  while (WaitForInput()) {
    char chunk[4096];
    const ssize_t size = read(descriptor_, chunk, sizeof(chunk));
    if (size < 0 && (errno == EINTR || errno == EAGAIN)) continue;
    if (size <= 0) return lines_.End();  // an error ends the input as well: the sensor is gone
    if (!lines_.Add({chunk, static_cast<size_t>(size)})) return;
  }
}

// False when the feed is to stop.
bool LiveFeed::WaitForInput() const {
  pollfd waited_for[] = {{descriptor_, POLLIN, 0}, {stop_event_, POLLIN, 0}};
  while (poll(waited_for, 2, -1) < 0) {
    // Interrupted by a signal: wait on.
  }
  return waited_for[1].revents == 0;
}

// False when the feed is to stop.
bool LiveFeed::Enqueue(const ImuSample& sample) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    taken_.wait(lock, [this] { return stop_ || queue_.size() < kMostQueued; });
    if (stop_) return false;
    queue_.push_back(sample);
  }
  arrived_.notify_one();
  return true;
}

}  // namespace host
