#include "test/endurance/series.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <limits>
#include <stdexcept>
#include <string>
#include <system_error>

namespace endurance {

namespace {

constexpr int kFramesPerCycle = 5;

bool IsSampled(int steps_done, int steps) { return steps_done % std::max(steps / 10, 1) == 0; }

[[noreturn]] void ThrowErrno(const char* what) { throw std::system_error(errno, std::generic_category(), what); }

// Standard output to nowhere: the plug-in's log of a long run is long. Standard error to a file, where it can be
// looked at.
void RedirectOutput(std::FILE* errors) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (nowhere < 0 || dup2(nowhere, STDOUT_FILENO) < 0 || dup2(fileno(errors), STDERR_FILENO) < 0) {
    ThrowErrno("redirecting the output");
  }
  close(nowhere);
}

// What the child process does. The samples go through `samples` as they lie in memory.
void RunAsChild(Series series, int steps, const std::function<std::unique_ptr<Subject>()>& make_subject, int samples,
                std::FILE* errors) {
  RedirectOutput(errors);
  const std::unique_ptr<Subject> subject = make_subject();
  int fewest_threads = std::numeric_limits<int>::max();
  series(*subject, steps, [samples, &fewest_threads](int steps_done, int failed_starts) {
    WaitForThreadsToLeave(fewest_threads);
    const Sample sample = {steps_done, failed_starts, ReadProcessFigures()};
    fewest_threads = std::min(fewest_threads, sample.figures.threads);
    if (write(samples, &sample, sizeof sample) != sizeof sample) ThrowErrno("writing a sample");
  });
}

std::string TextOf(std::FILE* file) {
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
  return text;
}

}  // namespace

void OpenAndClose(Subject& subject, int steps, const TakeSample& sample) {
  int failed_starts = 0;
  for (int done = 1; done <= steps; ++done) {
    subject.Open();
    subject.Start();
    if (!subject.WaitForFrames(kFramesPerCycle)) ++failed_starts;
    subject.Stop();
    subject.Close();
    if (IsSampled(done, steps)) sample(done, failed_starts);
  }
}

void StartAndStop(Subject& subject, int steps, const TakeSample& sample) {
  int failed_starts = 0;
  subject.Open();
  for (int done = 1; done <= steps; ++done) {
    subject.Start();
    if (!subject.WaitForFrames(1)) ++failed_starts;
    subject.Stop();
    if (IsSampled(done, steps)) sample(done, failed_starts);
  }
  subject.Close();
}

void DrawFrames(Subject& subject, int steps, const TakeSample& sample) {
  const int frames_per_sample = std::max(steps / 10, 1);
  int failed_starts = 0;
  subject.Open();
  for (int done = frames_per_sample; done <= steps; done += frames_per_sample) {
    subject.Start();
    if (!subject.WaitForFrames(frames_per_sample)) ++failed_starts;
    // A sample beside a frame that is under way would count what the driver allocates for it and frees again.
    subject.Stop();
    sample(done, failed_starts);
  }
  subject.Close();
}

std::vector<Sample> RunInItsOwnProcess(Series series, int steps,
                                       const std::function<std::unique_ptr<Subject>()>& make_subject) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> errors(std::tmpfile(), std::fclose);
  int ends[2];
  if (!errors || pipe2(ends, O_CLOEXEC) != 0) ThrowErrno("preparing a process");
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) ThrowErrno("fork");
  if (child == 0) {
    close(ends[0]);
    int status = 0;
    try {
      RunAsChild(series, steps, make_subject, ends[1], errors.get());
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%s\n", error.what());
      status = 1;
    }
    std::fflush(nullptr);
    _exit(status);
  }
  close(ends[1]);
  std::vector<Sample> taken;
  for (Sample sample; read(ends[0], &sample, sizeof sample) == sizeof sample;) taken.push_back(sample);
  close(ends[0]);
  int status = 0;
  waitpid(child, &status, 0);
  if (status != 0) {
    throw std::runtime_error("a series ended early, with wait status " + std::to_string(status) + ":\n" +
                             TextOf(errors.get()));
  }
  return taken;
}

}  // namespace endurance
