#include "host/console.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "host/host_error.h"

namespace host {

namespace {

constexpr char kEraseLine[] = "\r\x1b[K";

// Returns 0, or why the text could not be written.
int WriteAll(int descriptor, const std::string& text) {
  size_t written = 0;
  while (written < text.size()) {
    const ssize_t size = write(descriptor, text.data() + written, text.size() - written);
    if (size < 0 && errno == EINTR) continue;
    if (size < 0) return errno;
    written += static_cast<size_t>(size);
  }
  return 0;
}

// Of the three standard descriptors, opens those that the process was started without: the next file would
// otherwise get the number, and whatever anybody writes.
void OpenStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    [[maybe_unused]] const int opened = open("/dev/null", O_RDWR);  // takes the lowest free number, which is this
  }
}

int DuplicateForHost(int descriptor) {
  OpenStandardDescriptors();
  return fcntl(descriptor, F_DUPFD_CLOEXEC, 3);
}

// ---- Fatal signals ---------------------------------------------------------------------------------------

constexpr std::array<int, 5> kFatalSignals = {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// Set before the handlers are installed; what they may use is little.
int g_last_words_descriptor = -1;
char g_last_words[4096];
std::array<struct sigaction, kFatalSignals.size()> g_earlier_actions;

void SayLastWords(int signal_number) {
  [[maybe_unused]] const ssize_t written = write(g_last_words_descriptor, g_last_words, std::strlen(g_last_words));
  // Whoever handled the signal before handles it next (a sanitizer, or the system with its core file): a
  // fault comes back as soon as this returns, and abort() raises its signal once more.
  for (size_t i = 0; i < kFatalSignals.size(); ++i) {
    if (kFatalSignals[i] == signal_number) sigaction(signal_number, &g_earlier_actions[i], nullptr);
  }
}

void PrepareLastWords(int descriptor, bool terminal, const std::string& others_path) {
  g_last_words_descriptor = descriptor;
  std::snprintf(g_last_words, sizeof(g_last_words),
                "%sorbisk_host: the program crashed; the last lines of the plug-in are in %s\n",
                terminal ? kEraseLine : "", others_path.c_str());
  struct sigaction action = {};
  action.sa_handler = SayLastWords;
  sigemptyset(&action.sa_mask);
  for (size_t i = 0; i < kFatalSignals.size(); ++i) sigaction(kFatalSignals[i], &action, &g_earlier_actions[i]);
}

}  // namespace

// ---- Console ----------------------------------------------------------------------------------------------

Console::Console()
    : out_(DuplicateForHost(STDOUT_FILENO)),
      err_(DuplicateForHost(STDERR_FILENO)),
      terminal_(isatty(STDERR_FILENO) == 1) {}

Console::~Console() {
  if (out_ >= 0) close(out_);
  if (err_ >= 0) close(err_);
}

void Console::DivertOthersTo(const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0666);
  if (file < 0) throw HostError("cannot write " + path + ": " + std::strerror(errno));
  std::fflush(nullptr);
  dup2(file, STDOUT_FILENO);
  dup2(file, STDERR_FILENO);
  close(file);
  others_path_ = path;
  PrepareLastWords(err_, terminal_, path);
}

// Where standard error cannot be written, there is nowhere to say so.

void Console::Out(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  EndProgress();
  const int error = WriteAll(out_, text);
  if (error != 0) out_error_ = error;
}

int Console::out_error() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return out_error_;
}

void Console::Line(const std::string& text) {
  const std::lock_guard<std::mutex> lock(mutex_);
  EndProgress();
  WriteAll(err_, "orbisk_host: " + text + '\n');
}

void Console::Progress(const std::string& text) {
  if (!terminal_) return;
  const std::lock_guard<std::mutex> lock(mutex_);
  WriteAll(err_, kEraseLine + text);
  progress_shown_ = true;
}

// With `mutex_` held.
void Console::EndProgress() {
  if (std::exchange(progress_shown_, false)) WriteAll(err_, kEraseLine);
}

}  // namespace host
