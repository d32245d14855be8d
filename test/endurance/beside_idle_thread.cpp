#include <future>
#include <optional>
#include <thread>
#include <utility>

#include "test/endurance/subject.h"

namespace endurance {

namespace {

// A thread that does nothing for as long as the object lives.
class IdleThread {
 public:
  ~IdleThread() {
    end_.set_value();
    thread_.join();
  }

 private:
  std::promise<void> end_;
  std::thread thread_{[end = end_.get_future()] { end.wait(); }};
};

class BesideIdleThread : public Subject {
 public:
  explicit BesideIdleThread(std::unique_ptr<Subject> subject) : subject_(std::move(subject)) {}

  void Open() override { subject_->Open(); }
  void Close() override { subject_->Close(); }

  void Start() override {
    idle_thread_.emplace();
    subject_->Start();
  }

  void Stop() override {
    idle_thread_.reset();
    subject_->Stop();
  }

  bool WaitForFrames(int count) override { return subject_->WaitForFrames(count); }

 private:
  const std::unique_ptr<Subject> subject_;
  std::optional<IdleThread> idle_thread_;
};

}  // namespace

std::unique_ptr<Subject> PutBesideIdleThread(std::unique_ptr<Subject> subject) {
  return std::make_unique<BesideIdleThread>(std::move(subject));
}

}  // namespace endurance
