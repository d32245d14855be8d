#include "test/endurance/process_figures.h"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

namespace endurance {

namespace {

int CountEntries(const char* folder) {
  const std::filesystem::directory_iterator entries(folder);
  return static_cast<int>(std::distance(begin(entries), end(entries)));
}

int CountThreads() { return CountEntries("/proc/self/task"); }

}  // namespace

ProcessFigures ReadProcessFigures() {
  long total_pages = 0;
  long resident_pages = 0;
  if (!(std::ifstream("/proc/self/statm") >> total_pages >> resident_pages)) {
    throw std::runtime_error("cannot read /proc/self/statm");
  }
  ProcessFigures figures;
  figures.resident_kb = resident_pages * (sysconf(_SC_PAGESIZE) / 1024);
  const struct mallinfo2 heap = mallinfo2();
  figures.heap_kb = static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
  figures.descriptors = CountEntries("/proc/self/fd") - 1;  // but for the one that reads the folder
  figures.threads = CountThreads();
  return figures;
}

void WaitForThreadsToLeave(int threads) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (CountThreads() > threads && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

}  // namespace endurance
