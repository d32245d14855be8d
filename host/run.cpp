#include "host/run.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "host/environment.h"
#include "host/host_error.h"
#include "host/imu_feed.h"
#include "host/model_trouble.h"
#include "host/plugin_library.h"
#include "host/recorder.h"
#include "host/report.h"
#include "host/session.h"
#include "host/window.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

double SecondsBetween(Clock::time_point from, Clock::time_point to) {
  return std::chrono::duration<double>(to - from).count();
}

double Milliseconds(std::chrono::nanoseconds time) { return static_cast<double>(time.count()) / 1e6; }

// ---- Signals ----------------------------------------------------------------------------------------------

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal handler writes it");

// Ctrl-C and closing the terminal end the run in order, a second Ctrl-C the program at once. A terminal that
// closes may send its signal twice, from the shell and from the system, and none to a program under nohup.
void EndRunOnInterrupt() {
  struct sigaction action = {};
  action.sa_handler = [](int) { g_interrupted = true; };
  sigemptyset(&action.sa_mask);
  struct sigaction hang_up;
  sigaction(SIGHUP, nullptr, &hang_up);
  if (hang_up.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

// ---- Set-up -----------------------------------------------------------------------------------------------

void MakeOutFolder(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!error && !std::filesystem::is_directory(folder)) error = std::make_error_code(std::errc::not_a_directory);
  if (!error && access(folder.c_str(), W_OK | X_OK) != 0) error = std::error_code(errno, std::generic_category());
  if (error) throw HostError("cannot write into the folder " + folder + ": " + error.message());
}

std::unique_ptr<Window> OpenWindow(const Options& options, const std::string& title) {
  // SDL would fall back to drivers that show nothing.
  if (!DisplayPresent() && std::getenv("SDL_VIDEODRIVER") == nullptr) {
    throw HostError("cannot open a window: neither DISPLAY nor WAYLAND_DISPLAY is set; --headless needs no display");
  }
  return std::make_unique<Window>(title, options.width, options.height);
}

// ---- What the threads share -------------------------------------------------------------------------------

// The orientation goes from the main thread to the raster thread, the frame the other way.
class Exchange {
 public:
  void SetOrientation(const Orientation& orientation) {
    const std::lock_guard<std::mutex> lock(mutex_);
    orientation_ = orientation;
  }
  Orientation orientation() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return orientation_;
  }

  void SetFrame(std::shared_ptr<const Frame> frame) {
    const std::lock_guard<std::mutex> lock(mutex_);
    frame_ = std::move(frame);
  }
  // Null when there is none since the last call.
  std::shared_ptr<const Frame> TakeFrame() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(frame_, nullptr);
  }

 private:
  mutable std::mutex mutex_;
  Orientation orientation_;
  std::shared_ptr<const Frame> frame_;
};

// ---- The run ----------------------------------------------------------------------------------------------

constexpr auto kWindowTurn = std::chrono::milliseconds(5);  // how long keys and frames may wait
constexpr auto kHeadlessTurn = std::chrono::milliseconds(50);
constexpr auto kProgressInterval = std::chrono::milliseconds(200);
constexpr int kMostSamplesPerTurn = 1000;  // however many come, the run stays in control

class Runner {
 public:
  Runner(const Options& options, Console& console) : options_(options), console_(console) {}

  void Run();

 private:
  void OpenFeed();
  void RunPlugin(RegisterPluginFunction register_plugin);
  bool PicturesWanted();
  void Loop();
  bool InputOver() const;
  void SendDueSamples(Clock::time_point now);
  bool ServeWindow();
  bool AtEnd(Clock::time_point now);
  void ShowProgress(Clock::time_point now);
  void Report(std::optional<Recorder::Files> files);
  void CheckReport();

  const Options& options_;
  Console& console_;

  std::unique_ptr<ImuFeed> feed_;
  std::optional<double> length_s_;  // how long the run will be, where that is known
  std::string title_;
  std::unique_ptr<Window> window_;
  Exchange exchange_;
  std::unique_ptr<Recorder> recorder_;
  Clock::time_point start_;  // set before anything is drawn
  Clock::time_point deadline_ = Clock::time_point::max();
  Clock::time_point end_;
  Clock::time_point next_progress_;
  std::string input_error_;  // why a live sensor's input ended; empty when there was no error
  // Once the input is over: since when, and how many frames had been fetched by then.
  std::optional<Clock::time_point> input_over_at_;
  uint64_t fetched_at_input_end_ = 0;
  uint64_t frames_after_input_ = 2;  // until the last sample is seen: one frame may have been under way

  std::unique_ptr<Session> session_;  // last: its raster thread uses the above
};

void Runner::Run() {
  CheckModelFile(options_.model);
  OpenFeed();
  title_ = "Orbisk - " + std::filesystem::path(options_.model).filename().string();
  if (options_.window) {
    window_ = OpenWindow(options_, title_);
  } else {
    MakeOutFolder(options_.out);
    if (!options_.verbose) console_.DivertOthersTo(options_.out + "/plugin.log");
    recorder_ =
        std::make_unique<Recorder>(options_.out, static_cast<size_t>(options_.frames),
                                   static_cast<size_t>(options_.width) * static_cast<size_t>(options_.height) * 4,
                                   [this](const std::string& path) { console_.Out("First picture: " + path + '\n'); });
  }
  const RegisterPluginFunction register_plugin =
      LoadPlugin(options_.plugin.empty() ? DefaultPluginPath() : options_.plugin);
  std::optional<Recorder::Files> files;
  try {
    RunPlugin(register_plugin);
    if (PicturesWanted()) files = recorder_->Finish();
  } catch (const std::runtime_error& error) {
    if (console_.others_path().empty()) throw;
    throw HostError(std::string(error.what()) + "; the plug-in's own lines are in " + console_.others_path());
  }
  if (files || window_) Report(std::move(files));
  if (!input_error_.empty()) throw HostError(input_error_);
  CheckReport();
}

void Runner::RunPlugin(RegisterPluginFunction register_plugin) {
  session_ = std::make_unique<Session>(register_plugin, options_, [this](std::shared_ptr<const Frame> frame) {
    if (recorder_) {
      const double seconds = SecondsBetween(start_, frame->fetched_at);
      recorder_->Add({std::move(frame), seconds, exchange_.orientation()});
    } else {
      exchange_.SetFrame(std::move(frame));
    }
  });

  EndRunOnInterrupt();
  start_ = Clock::now();
  if (options_.seconds) {
    const std::chrono::duration<double> seconds(*options_.seconds);
    deadline_ = start_ + std::chrono::duration_cast<Clock::duration>(seconds);
  }
  feed_->Start(start_);
  // The first frame shows the first sample already; the only one, where there is one only.
  SendDueSamples(start_);
  if (InputOver()) frames_after_input_ = 1;
  session_->viewer().StartRendering();
  Loop();
  end_ = Clock::now();
  if (PicturesWanted()) {
    console_.Progress("writing the pictures");
    recorder_->Close();  // writing goes on while the plug-in ends
  }
  session_->End();
}

// They show what a sensor said until its input broke; there are none of one that never said anything.
bool Runner::PicturesWanted() {
  return recorder_ && (input_error_.empty() || session_->viewer().orientation_latency().count() != 0);
}

void Runner::OpenFeed() {
  if (options_.imu == "-") {
    length_s_ = options_.seconds;
    feed_ = std::make_unique<LiveFeed>(STDIN_FILENO, "standard input");
    return;
  }
  const bool repeat = options_.window && !options_.seconds;
  auto recorded = std::make_unique<RecordedFeed>(ReadImuRun(options_.imu), repeat);
  if (!repeat) length_s_ = std::min(recorded->length_s(), options_.seconds.value_or(recorded->length_s()));
  feed_ = std::move(recorded);
}

void Runner::Loop() {
  for (;;) {
    const Clock::time_point now = Clock::now();
    session_->embedder().CheckRaster();
    if (recorder_) recorder_->Check();
    if (!InputOver()) SendDueSamples(std::min(now, deadline_));
    if (!ServeWindow() || AtEnd(now)) return;
    ShowProgress(now);
    const Clock::time_point turn_end = std::min(now + (window_ ? kWindowTurn : kHeadlessTurn), deadline_);
    if (input_over_at_ || now >= deadline_) {
      std::this_thread::sleep_until(now + kWindowTurn);
    } else {
      feed_->WaitUntil(turn_end);
    }
  }
}

// True when no more samples are to be sent: there are none, or a signal ends the run.
bool Runner::InputOver() const { return g_interrupted || !input_error_.empty() || feed_->ended(); }

void Runner::SendDueSamples(Clock::time_point now) {
  try {
    for (int i = 0; i < kMostSamplesPerTurn; ++i) {
      const std::optional<Orientation> orientation = feed_->TakeDue(now);
      if (!orientation) return;
      session_->viewer().SetOrientation(*orientation);
      exchange_.SetOrientation(*orientation);
    }
  } catch (const HostError& error) {
    input_error_ = error.what();
  }
}

// False when the user has closed it.
bool Runner::ServeWindow() {
  if (!window_) return true;
  while (const std::optional<Window::Action> action = window_->TakeAction()) {
    const Angles base = options_.base.value_or(Angles());
    switch (*action) {
      case Window::Action::kQuit: return false;
      case Window::Action::kStraighten:
        session_->viewer().SetBaseRotation(BaseThatStraightens(exchange_.orientation(), base));
        break;
      case Window::Action::kReset: session_->viewer().SetBaseRotation(base); break;
    }
  }
  if (const std::shared_ptr<const Frame> frame = exchange_.TakeFrame()) window_->Show(*frame);
  return true;
}

bool Runner::AtEnd(Clock::time_point now) {
  const auto longest_wait = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(options_.wait_s));
  const uint64_t fetched = session_->embedder().frames_fetched();
  // However short the run, it has a picture.
  if (now >= deadline_ && (fetched > 0 || now >= deadline_ + longest_wait)) return true;
  if (!InputOver()) return false;
  if (!input_over_at_) {
    input_over_at_ = now;
    fetched_at_input_end_ = fetched;
  }
  return fetched >= fetched_at_input_end_ + frames_after_input_ || now >= *input_over_at_ + longest_wait;
}

void Runner::ShowProgress(Clock::time_point now) {
  if (now < next_progress_) return;
  next_progress_ = now + kProgressInterval;
  const double seconds = SecondsBetween(start_, now);
  const uint64_t frames = session_->embedder().frames_marked();
  const std::string orientation = OrientationText(exchange_.orientation());
  char figures[160];
  char length[40] = "";
  if (length_s_) std::snprintf(length, sizeof(length), " of %.1f s", *length_s_);
  std::snprintf(figures, sizeof(figures), "%.1f s%s, %llu frames (%.1f per second), %llu commands, ", seconds, length,
                static_cast<unsigned long long>(frames), seconds > 0 ? static_cast<double>(frames) / seconds : 0.0,
                static_cast<unsigned long long>(session_->viewer().commands_sent()));
  console_.Progress(figures + orientation);
  if (window_) {
    std::snprintf(figures, sizeof(figures), " - %.1f fps - ",
                  seconds > 0 ? static_cast<double>(frames) / seconds : 0.0);
    window_->SetTitle(title_ + figures + orientation);
  }
}

void Runner::Report(std::optional<Recorder::Files> files) {
  RunFigures figures;
  figures.seconds = SecondsBetween(start_, end_);
  figures.width = options_.width;
  figures.height = options_.height;
  figures.frames_drawn = session_->embedder().frames_marked();
  figures.frames_fetched = session_->embedder().frames_fetched();
  figures.commands_sent = session_->viewer().commands_sent();
  figures.orientation_latency = session_->viewer().orientation_latency();
  figures.create_texture_ms = Milliseconds(session_->create_texture_latency());
  figures.load_model_ms = Milliseconds(session_->load_model_latency());
  figures.files = std::move(files);
  figures.log_path = console_.others_path();
  console_.Out(ReportText(figures));
}

// A reader that has gone away (`orbisk_host ... | head -1`) has seen what it wanted, and a terminal that has
// closed (EIO) has ended the run: that is no failure.
void Runner::CheckReport() {
  const int error = console_.out_error();
  if (error == 0) return;
  const std::string lost =
      std::string("the report is lost") + (recorder_ ? "; the pictures are in " + options_.out : std::string());
  if (error != EPIPE && !(error == EIO && g_interrupted)) {
    throw HostError(std::string("cannot write to standard output: ") + std::strerror(error) + "; " + lost);
  }
  console_.Line("nobody reads standard output any more; " + lost);
}

}  // namespace

void Run(const Options& options, Console& console) { Runner(options, console).Run(); }

}  // namespace host
