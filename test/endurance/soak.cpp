// Runs the built plug-in for long and says whether it grows, beside a program of EGL calls alone that does the same:
// what that one grows by is the driver's. With --beside-threads, whether it starts where other threads come and go.

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "test/endurance/series.h"
#include "test/endurance/subject.h"
#include "test/endurance/verdict.h"

namespace {

using endurance::Growth;
using endurance::ProcessFigures;
using endurance::Sample;
using endurance::WhenThreadEnds;

constexpr int kFewestSteps = 20;

struct Options {
  bool beside_threads = false;
  std::string plugin_path;
  std::string model_path;
  int cycles = 1000;
  int restarts = 1000;
  int frames = 100000;
};

constexpr char kUsage[] =
    "takes PLUGIN MODEL [CYCLES [RESTARTS [FRAMES]]]\n"
    "          or --beside-threads PLUGIN MODEL [CYCLES [RESTARTS]]";

struct Column {
  const char* title;
  std::vector<Sample> samples;
};

int ParseSteps(const char* text) {
  char* end = nullptr;
  const long steps = std::strtol(text, &end, 10);
  if (*end != '\0' || steps < kFewestSteps || steps > 10'000'000) {
    throw std::runtime_error(std::string("not a number of at least ") + std::to_string(kFewestSteps) + ": " + text);
  }
  return static_cast<int>(steps);
}

void PrintTable(const char* step_name, const std::vector<Column>& columns) {
  std::printf("%9s", "");
  for (const Column& column : columns) std::printf(" | %-42s", column.title);
  std::printf("\n%9s", step_name);
  for (size_t i = 0; i < columns.size(); ++i) {
    std::printf(" | %11s %10s %5s %7s %5s", "resident kB", "heap kB", "fds", "threads", "fails");
  }
  std::printf("\n");
  for (size_t row = 0; row < columns.front().samples.size(); ++row) {
    std::printf("%9d", columns.front().samples[row].steps_done);
    for (const Column& column : columns) {
      const Sample& sample = column.samples.at(row);
      std::printf(" | %11ld %10ld %5d %7d %5d", sample.figures.resident_kb, sample.figures.heap_kb,
                  sample.figures.descriptors, sample.figures.threads, sample.failed_starts);
    }
    std::printf("\n");
  }
  std::printf("%9s", "each, kB");
  for (const Column& column : columns) {
    const Sample& first = column.samples.front();
    const Sample& last = column.samples.back();
    const double steps = last.steps_done - first.steps_done;
    const ProcessFigures growth = Growth(first, last);
    std::printf(" | %11.3f %10.3f %19s", static_cast<double>(growth.resident_kb) / steps,
                static_cast<double>(growth.heap_kb) / steps, "");
  }
  std::printf("\n");
}

// Prints a series' table and verdict; true when all is well.
bool Judge(const char* step_name, const std::vector<Column>& columns) {
  PrintTable(step_name, columns);
  const std::vector<std::string> objections = endurance::Objections(columns[0].samples, columns[1].samples);
  for (const std::string& objection : objections) std::printf("FAILED: %s\n", objection.c_str());
  if (objections.empty()) std::printf("ok: the plug-in grows no more than the bare program\n");
  std::printf("\n");
  std::fflush(stdout);
  return objections.empty();
}

using SubjectMaker = std::function<std::unique_ptr<endurance::Subject>()>;

SubjectMaker Plugin(const Options& options) {
  return [&options] { return endurance::MakePluginSubject(options.plugin_path, options.model_path); };
}

SubjectMaker Bare(const Options& options, WhenThreadEnds when_thread_ends) {
  return [&options, when_thread_ends] { return endurance::MakeBareSubject(options.model_path, when_thread_ends); };
}

bool SoakAlone(const Options& options) {
  const SubjectMaker plugin = Plugin(options);
  const SubjectMaker bare = Bare(options, WhenThreadEnds::kLeaveCurrent);
  const SubjectMaker releasing = Bare(options, WhenThreadEnds::kRelease);
  const auto run = endurance::RunInItsOwnProcess;

  std::printf(
      "Frames follow each other at once: the sleeps that make them 33 ms long are left out. %d x %d pixels.\n"
      "Allowed beyond the bare program: %ld kB of heap in a tenth of a series; resident, %ld kB and %ld %% of the "
      "bare\n"
      "program's growth in all; no descriptor, no thread, no failed start. The bare program leaves its context current "
      "on\n"
      "the thread that ends, as the plug-in does.\n\n",
      endurance::kFrameSide, endurance::kFrameSide, endurance::kHeapToleranceKb, endurance::kResidentToleranceKb,
      endurance::kResidentTolerancePercent);
  bool good = true;

  std::printf("Cycles of create, load, start, frames, stop, dispose\n");
  good &=
      Judge("cycles",
            {{"plug-in", run(endurance::OpenAndClose, options.cycles, plugin)},
             {"bare program", run(endurance::OpenAndClose, options.cycles, bare)},
             {"bare, releases the context on the thread", run(endurance::OpenAndClose, options.cycles, releasing)}});
  std::printf("Starts and stops of one viewer\n");
  good &= Judge("restarts", {{"plug-in", run(endurance::StartAndStop, options.restarts, plugin)},
                             {"bare program", run(endurance::StartAndStop, options.restarts, bare)}});
  std::printf("Frames of one viewer\n");
  good &= Judge("frames", {{"plug-in", run(endurance::DrawFrames, options.frames, plugin)},
                           {"bare program", run(endurance::DrawFrames, options.frames, bare)}});
  return good;
}

// Prints how many starts failed. Failed starts are the driver's doing, and a matter of luck.
bool CountFailedStartsBesideThreads(const Options& options) {
  const auto failed = [](endurance::Series series, int steps, const SubjectMaker& make_subject) {
    const auto beside_thread = [&make_subject] { return endurance::PutBesideIdleThread(make_subject()); };
    return endurance::RunInItsOwnProcess(series, steps, beside_thread).back().failed_starts;
  };
  const SubjectMaker plugin = Plugin(options);
  const SubjectMaker bare = Bare(options, WhenThreadEnds::kLeaveCurrent);

  std::printf(
      "Starts that bring no frame where another thread starts before each. A driver that finds the context current on "
      "the\n"
      "drawing thread that has ended may refuse the next one.\n\n"
      "%-40s | %7s | %7s | %12s\n",
      "", "starts", "plug-in", "bare program");
  const auto report = [&](const char* title, endurance::Series series, int steps) {
    const int failures = failed(series, steps, plugin);
    std::printf("%-40s | %7d | %7d | %12d\n", title, steps, failures, failed(series, steps, bare));
    std::fflush(stdout);
    return failures;
  };
  report("stop, start of one viewer", endurance::StartAndStop, options.restarts);
  const int failures = report("dispose, create, load, start", endurance::OpenAndClose, options.cycles);
  std::printf("\n%s\n", failures == 0 ? "ok: a viewer made anew always starts (stop and start is not judged)"
                                      : "FAILED: a viewer made anew does not always start");
  return failures == 0;
}

Options ParseOptions(std::vector<std::string> arguments) {
  Options options;
  if (!arguments.empty() && arguments.front() == "--beside-threads") {
    options.beside_threads = true;
    arguments.erase(arguments.begin());
  }
  std::vector<int*> steps = {&options.cycles, &options.restarts};
  if (!options.beside_threads) steps.push_back(&options.frames);
  if (arguments.size() < 2 || arguments.size() > 2 + steps.size()) throw std::runtime_error(kUsage);
  options.plugin_path = arguments[0];
  options.model_path = arguments[1];
  for (size_t i = 2; i < arguments.size(); ++i) *steps[i - 2] = ParseSteps(arguments[i].c_str());
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  // Mesa's own warnings would pass for the plug-in's errors.
  setenv("EGL_LOG_LEVEL", "fatal", 0);
  // One arena for all threads: which arena a thread gets is chance, and how much of each lies idle with it.
  mallopt(M_ARENA_MAX, 1);
  try {
    const Options options = ParseOptions({argv + 1, argv + argc});
    return (options.beside_threads ? CountFailedStartsBesideThreads(options) : SoakAlone(options)) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orbisk_soak: %s\n", error.what());
    return 2;
  }
}
