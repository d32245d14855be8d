#include "test/host/process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace {

// Variables of the test's own environment that a program needs to run at all, or to be checked.
const char* const kInherited[] = {"PATH",         "HOME",          "LD_LIBRARY_PATH", "ASAN_OPTIONS",
                                  "LSAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

Process::Process(const TemporaryFolder& folder, std::vector<std::string> command, const Environment& environment,
                 int input, int error_output)
    : err_path_(folder.PathOf("stderr")) {
  std::vector<std::string> variables;
  for (const char* name : kInherited) {
    if (const char* value = getenv(name)) variables.push_back(std::string(name) + "=" + value);
  }
  for (const auto& [name, value] : environment) variables.push_back(name + "=" + value);
  const int err = open(err_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const std::vector<char*> arguments = Pointers(command);
  const std::vector<char*> environment_pointers = Pointers(variables);
  id_ = fork();
  if (id_ == 0) {
    dup2(input, STDIN_FILENO);
    dup2(out_.writing_end(), STDOUT_FILENO);
    dup2(error_output < 0 ? err : error_output, STDERR_FILENO);
    execvpe(arguments[0], arguments.data(), environment_pointers.data());
    _exit(127);
  }
  out_.CloseWriting();
  close(err);
}

Process::~Process() {
  if (id_ < 0) return;
  kill(id_, SIGTERM);
  Wait();
}

bool Process::running() const {
  siginfo_t ended = {};
  return waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 && ended.si_pid == 0;
}

std::string Process::FirstLine() {
  while (output_.find('\n') == std::string::npos) {
    const std::string more = out_.Read();
    if (more.empty()) break;
    output_ += more;
  }
  return output_.substr(0, output_.find('\n'));
}

Process::Result Process::Wait() {
  for (std::string more; !(more = out_.Read()).empty();) output_ += more;
  int status = 0;
  waitpid(std::exchange(id_, -1), &status, 0);
  Result result;
  if (WIFEXITED(status)) result.status = WEXITSTATUS(status);
  result.out = output_;
  result.err = ReadFile(err_path_);
  return result;
}
