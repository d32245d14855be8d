// Runs the built plug-in for long and says whether it grows, beside a program of EGL calls alone that does the same:
// what that one grows by is the driver's.

#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "test/endurance/series.h"
#include "test/endurance/subject.h"
#include "test/endurance/verdict.h"

namespace {

using endurance::Growth;
using endurance::kHeapToleranceAtRest;
using endurance::kHeapToleranceWhileDrawing;
using endurance::ProcessFigures;
using endurance::Sample;
using endurance::WhenThreadEnds;

constexpr int kFewestSteps = 20;

struct Options {
  std::string plugin_path;
  std::string model_path;
  int cycles = 1000;
  int restarts = 1000;
  int frames = 100000;
};

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
bool Judge(const char* step_name, const std::vector<Column>& columns, long heap_tolerance_kb) {
  PrintTable(step_name, columns);
  const std::vector<std::string> objections =
      endurance::Objections(columns[0].samples, columns[1].samples, heap_tolerance_kb);
  for (const std::string& objection : objections) std::printf("FAILED: %s\n", objection.c_str());
  if (objections.empty()) std::printf("ok: the plug-in grows no more than the bare program\n");
  std::printf("\n");
  std::fflush(stdout);
  return objections.empty();
}

bool Run(const Options& options) {
  const auto plugin = [&] { return endurance::MakePluginSubject(options.plugin_path, options.model_path); };
  const auto bare = [&] { return endurance::MakeBareSubject(options.model_path, WhenThreadEnds::kLeaveCurrent); };
  const auto releasing = [&] { return endurance::MakeBareSubject(options.model_path, WhenThreadEnds::kRelease); };
  const auto run = [](endurance::Series series, int steps, const auto& make_subject) {
    return endurance::RunInItsOwnProcess(series, steps, make_subject);
  };

  std::printf(
      "Frames follow each other at once: the sleeps that make them 33 ms long are left out. %d x %d pixels.\n"
      "Allowed beyond the bare program: %ld kB of heap in a tenth of a series (%ld while drawing); resident, %ld kB and\n"
      "%ld %% of the bare program's growth in all; no descriptor, no thread, no failed start. The bare program leaves its\n"
      "context current on the thread that ends, as the plug-in does.\n\n",
      endurance::kFrameSide, endurance::kFrameSide, kHeapToleranceAtRest, kHeapToleranceWhileDrawing,
      endurance::kResidentToleranceKb, endurance::kResidentTolerancePercent);
  bool good = true;

  std::printf("Cycles of create, load, start, frames, stop, dispose\n");
  good &= Judge("cycles", {{"plug-in", run(endurance::OpenAndClose, options.cycles, plugin)},
                           {"bare program", run(endurance::OpenAndClose, options.cycles, bare)},
                           {"bare, releases the context on the thread",
                            run(endurance::OpenAndClose, options.cycles, releasing)}},
                kHeapToleranceAtRest);
  std::printf("Starts and stops of one viewer\n");
  good &= Judge("restarts", {{"plug-in", run(endurance::StartAndStop, options.restarts, plugin)},
                             {"bare program", run(endurance::StartAndStop, options.restarts, bare)}},
                kHeapToleranceAtRest);
  std::printf("Frames of one viewer\n");
  good &= Judge("frames", {{"plug-in", run(endurance::DrawFrames, options.frames, plugin)},
                           {"bare program", run(endurance::DrawFrames, options.frames, bare)}},
                kHeapToleranceWhileDrawing);
  return good;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3 || argc > 6) {
    std::fprintf(stderr, "usage: orbisk_soak PLUGIN MODEL [CYCLES [RESTARTS [FRAMES]]]\n");
    return 2;
  }
  // Mesa's own warnings would pass for the plug-in's errors.
  setenv("EGL_LOG_LEVEL", "fatal", 0);
  // One arena for all threads: which arena a thread gets is chance, and how much of each lies idle with it.
  mallopt(M_ARENA_MAX, 1);
  try {
    Options options = {argv[1], argv[2]};
    if (argc > 3) options.cycles = ParseSteps(argv[3]);
    if (argc > 4) options.restarts = ParseSteps(argv[4]);
    if (argc > 5) options.frames = ParseSteps(argv[5]);
    return Run(options) ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "orbisk_soak: %s\n", error.what());
    return 2;
  }
}
