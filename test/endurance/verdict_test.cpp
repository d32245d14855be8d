#include "test/endurance/verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace endurance {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

// Ten samples, a hundred steps apart, that grow by the same each time.
std::vector<Sample> Growing(ProcessFigures by) {
  std::vector<Sample> samples;
  for (int i = 1; i <= 10; ++i) {
    samples.push_back(
        {100 * i, 0, {80000 + i * by.resident_kb, 14000 + i * by.heap_kb, 7 + i * by.descriptors, 6 + i * by.threads}});
  }
  return samples;
}

TEST(SoakVerdictTest, GrowingWithTheDriverIsWell) {
  const std::vector<Sample> both = Growing({550000, 630000, 0, 0});
  EXPECT_THAT(Objections(both, both), IsEmpty());
  EXPECT_THAT(Objections(Growing({0, 0, 0, 0}), Growing({0, 0, 0, 0})), IsEmpty());
}

TEST(SoakVerdictTest, HeapThatGrowsMoreThanTheDriversInEachTenthIsNot) {
  EXPECT_THAT(Objections(Growing({0, 630016, 0, 0}), Growing({0, 630000, 0, 0})), IsEmpty());
  EXPECT_THAT(Objections(Growing({0, 630017, 0, 0}), Growing({0, 630000, 0, 0})),
              ElementsAre("heap beyond the bare program's, kB in a tenth: 17, at most 16 allowed"));
}

TEST(SoakVerdictTest, ABufferThatTheDriverMakesLateIsWell) {
  const std::vector<Sample> bare = Growing({0, 0, 0, 0});
  std::vector<Sample> plugin = bare;
  for (size_t i = 6; i < plugin.size(); ++i) plugin[i].figures.heap_kb += 1600;
  EXPECT_THAT(Objections(plugin, bare), IsEmpty());
}

TEST(SoakVerdictTest, ResidentMemoryCountsInAll) {
  EXPECT_THAT(Objections(Growing({455, 0, 0, 0}), Growing({0, 0, 0, 0})), IsEmpty());
  EXPECT_THAT(Objections(Growing({456, 0, 0, 0}), Growing({0, 0, 0, 0})),
              ElementsAre("resident beyond the bare program's, kB: 4104, at most 4096 allowed"));
  EXPECT_THAT(Objections(Growing({100456, 0, 0, 0}), Growing({100000, 0, 0, 0})), IsEmpty());
}

TEST(SoakVerdictTest, EveryDescriptorAndThreadCounts) {
  const std::vector<Sample> bare = Growing({0, 0, 0, 0});
  std::vector<Sample> plugin = bare;
  ++plugin.back().figures.descriptors;
  ++plugin.back().figures.threads;
  EXPECT_THAT(Objections(plugin, bare), ElementsAre("descriptors more than at first: 1, at most 0 allowed",
                                                    "threads more than at first: 1, at most 0 allowed"));
  EXPECT_THAT(Objections(plugin, plugin), IsEmpty());
}

TEST(SoakVerdictTest, AFailedStartCountsUnlessTheBareProgramFailsToo) {
  const std::vector<Sample> bare = Growing({0, 0, 0, 0});
  std::vector<Sample> plugin = bare;
  plugin.back().failed_starts = 1;
  EXPECT_THAT(Objections(plugin, bare), ElementsAre("failed starts: 1, at most 0 allowed"));
  EXPECT_THAT(Objections(plugin, plugin), IsEmpty());
}

TEST(SoakVerdictTest, TooFewSamplesAreNoVerdict) {
  const std::vector<Sample> samples = Growing({0, 0, 0, 0});
  EXPECT_THAT(Objections({}, {}), ElementsAre(StartsWith("there are too few")));
  EXPECT_THAT(Objections(samples, {samples.begin(), samples.end() - 1}), ElementsAre(StartsWith("there are too few")));
}

}  // namespace
}  // namespace endurance
