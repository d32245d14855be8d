#include "host/recorder.h"

#include <algorithm>
#include <string>
#include <utility>

#include "host/host_error.h"

namespace host {

namespace {

constexpr size_t kMostWaiting = 8;

// Many more frames than are shown, so that those come evenly spaced; fewer of them when they are huge.
size_t ReservoirCapacity(size_t still_count, size_t frame_bytes) {
  constexpr size_t kBudget_bytes = size_t{512} << 20;
  const size_t affordable = kBudget_bytes / std::max<size_t>(frame_bytes, 1);
  return std::max<size_t>(2, std::clamp(affordable, 2 * still_count, 8 * still_count));
}

}  // namespace

Recorder::Recorder(std::string folder, size_t still_count, size_t frame_bytes, FirstPicture on_first_picture)
    : folder_(std::move(folder)),
      still_count_(still_count),
      on_first_picture_(std::move(on_first_picture)),
      stills_(ReservoirCapacity(still_count, frame_bytes)),
      thread_([this] { Work(); }) {}

Recorder::~Recorder() {
  End(State::kGivenUp);
  if (thread_.joinable()) thread_.join();
}

void Recorder::Add(TimedFrame frame) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ != State::kRunning) return;
    if (waiting_.size() >= kMostWaiting) {
      ++left_out_;
      return;
    }
    waiting_.push_back(std::move(frame));
  }
  changed_.notify_one();
}

void Recorder::Check() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (failure_) std::rethrow_exception(failure_);
}

void Recorder::Close() { End(State::kClosed); }

Recorder::Files Recorder::Finish() {
  thread_.join();
  Check();
  return files_;
}

void Recorder::End(State state) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (state_ == State::kRunning) state_ = state;
  }
  changed_.notify_one();
}

void Recorder::Work() {
  try {
    TakeFrames();
    if (state_ == State::kClosed) WriteFiles();
  } catch (...) {
    const std::lock_guard<std::mutex> lock(mutex_);
    failure_ = std::current_exception();
  }
}

// Until the end of the run.
void Recorder::TakeFrames() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return state_ != State::kRunning || !waiting_.empty(); });
    if (waiting_.empty()) return;
    const TimedFrame frame = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    if (files_.stills.empty()) WriteFirstStill(*frame.frame);
    stills_.Add(frame);
    animation_.Add(frame);
    lock.lock();
  }
}

void Recorder::WriteFirstStill(const Frame& frame) {
  files_.stills.push_back(StillPath(1));
  WritePng(frame, files_.stills.back());
  on_first_picture_(files_.stills.back());
}

void Recorder::WriteFiles() {
  const std::vector<TimedFrame> stills = stills_.Spread(still_count_);
  if (stills.empty()) throw HostError("the plug-in drew no frame during the run");
  files_.frames_left_out = left_out_;
  files_.animation_cut_off = animation_.cut_off();
  for (size_t i = 1; i < stills.size(); ++i) {  // the first one is there
    files_.stills.push_back(StillPath(i + 1));
    WritePng(*stills[i].frame, files_.stills.back());
  }
  files_.contact_sheet = folder_ + "/contact_sheet.png";
  WriteContactSheet(stills, files_.contact_sheet);
  files_.animation = folder_ + "/orientation.webp";
  animation_.Write(files_.animation);
}

// "frame_01.png": two digits, or as many as the last one may need.
std::string Recorder::StillPath(size_t number) const {
  const size_t digits = std::max<size_t>(2, std::to_string(still_count_).size());
  const std::string text = std::to_string(number);
  return folder_ + "/frame_" + std::string(digits - text.size(), '0') + text + ".png";
}

}  // namespace host
