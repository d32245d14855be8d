#ifndef TEST_ENDURANCE_VERDICT_H_
#define TEST_ENDURANCE_VERDICT_H_

#include <string>
#include <vector>

#include "test/endurance/series.h"

namespace endurance {

/// How much more than the bare program's the plug-in's heap may grow in a tenth of a series, in kB.
///
/// The tenth in the middle of the order counts: something that is lost in each step shows in every tenth, while a
/// buffer that the driver makes late shows in one.
inline constexpr long kHeapToleranceKb = 16;

/// How much more may be resident at the end of a series. Coarser, as it comes in pages and with what the allocator
/// keeps; it is there for memory that is not from the heap.
inline constexpr long kResidentToleranceKb = 4096;
inline constexpr long kResidentTolerancePercent = 2;  // and of what the bare program grows by

/// The growth from one sample to another further on, in kB, descriptors and threads.
ProcessFigures Growth(const Sample& from, const Sample& to);

/// What is wrong with the plug-in's samples of a series beside the bare program's, a line each; nothing when all is
/// well. The first tenth is for warming up.
std::vector<std::string> Objections(const std::vector<Sample>& plugin, const std::vector<Sample>& bare);

}  // namespace endurance

#endif  // TEST_ENDURANCE_VERDICT_H_
