#ifndef TEST_ENDURANCE_SERIES_H_
#define TEST_ENDURANCE_SERIES_H_

#include <functional>
#include <memory>
#include <vector>

#include "test/endurance/process_figures.h"
#include "test/endurance/subject.h"

namespace endurance {

/// How things stand after so many steps of a series.
struct Sample {
  int steps_done = 0;
  int failed_starts = 0;  // starts after which no frame came, so far
  ProcessFigures figures;
};

using TakeSample = std::function<void(int steps_done, int failed_starts)>;

/// Something done `steps` times with one subject, which is closed at the beginning and at the end; `sample` is called
/// after each tenth.
using Series = void (*)(Subject& subject, int steps, const TakeSample& sample);

/// A viewer opened, started, stopped after a few frames and closed again; that `steps` times.
void OpenAndClose(Subject& subject, int steps, const TakeSample& sample);
/// One viewer, started and stopped `steps` times.
void StartAndStop(Subject& subject, int steps, const TakeSample& sample);
/// One viewer and `steps` frames of it, a tenth of them from each start.
void DrawFrames(Subject& subject, int steps, const TakeSample& sample);

/// Runs a series in a process of its own, so that what it leaves behind is seen there alone, with the subject that
/// `make_subject` makes in it.
///
/// Thread   before this program has a second one.
/// Failure  std::runtime_error where the series did not come to its end, with what the process wrote to standard
///          error.
std::vector<Sample> RunInItsOwnProcess(Series series, int steps,
                                       const std::function<std::unique_ptr<Subject>()>& make_subject);

}  // namespace endurance

#endif  // TEST_ENDURANCE_SERIES_H_
