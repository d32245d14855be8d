#ifndef TEST_ENDURANCE_PROCESS_FIGURES_H_
#define TEST_ENDURANCE_PROCESS_FIGURES_H_

namespace endurance {

/// What this process holds of the machine at one moment.
struct ProcessFigures {
  long resident_kb = 0;
  long heap_kb = 0;  // allocated and not freed: without what the allocator keeps
  int descriptors = 0;
  int threads = 0;
};

/// Failure  std::runtime_error where /proc does not tell.
ProcessFigures ReadProcessFigures();

/// Waits, for some seconds at most, until the process has no more than so many threads: one that has ended and been
/// joined is counted until the kernel has taken it off its list.
void WaitForThreadsToLeave(int threads);

}  // namespace endurance

#endif  // TEST_ENDURANCE_PROCESS_FIGURES_H_
