// The instrument that other tests measure allocations with: that it sees and refuses what it should.

#include "test/support/operator_new.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <vector>

namespace operator_new {
namespace {

TEST(OperatorNewTest, CountsBlocksAndWhatIsLeftOfThem) {
  const long count = CountOnThisThread();
  const long balance = BalanceOnThisThread();
  auto kept = std::make_unique<int>(1);
  { const std::vector<char> released(10); }
  EXPECT_EQ(CountOnThisThread(), count + 2);
  EXPECT_EQ(BalanceOnThisThread(), balance + 1);
  kept.reset();
  EXPECT_EQ(BalanceOnThisThread(), balance);
}

TEST(OperatorNewTest, APeakIsWhatWasAllocatedAtATime) {
  const Peak peak;
  { const std::vector<char> first(1000000); }
  const std::vector<char> second(1000000);
  EXPECT_GE(peak.bytes(), 1000000u);
  EXPECT_LT(peak.bytes(), 1100000u);
}

TEST(OperatorNewTest, ALimitRefusesWhatIsLargerWhileItLives) {
  {
    const Limit limit(1000);
    EXPECT_NO_THROW(std::vector<char>(1000));
    EXPECT_THROW(std::vector<char>(1001), std::bad_alloc);
  }
  EXPECT_NO_THROW(std::vector<char>(1001));
}

TEST(OperatorNewTest, AFaultIsTheAllocationThatItNames) {
  {
    const Fault fault(2, Fault::kOnce);
    EXPECT_NO_THROW(std::vector<char>(1));
    EXPECT_FALSE(fault.happened());
    EXPECT_THROW(std::vector<char>(1), std::bad_alloc);
    EXPECT_TRUE(fault.happened());
    EXPECT_NO_THROW(std::vector<char>(1));
  }
  const Fault fault(1, Fault::kFromThenOn);
  EXPECT_THROW(std::vector<char>(1), std::bad_alloc);
  EXPECT_THROW(std::vector<char>(1), std::bad_alloc);
}

TEST(OperatorNewTest, AWatchSeesItsBlockReleased) {
  auto block = std::make_unique<int>(1);
  const Watch watch(block.get());
  std::make_unique<int>(2).reset();
  EXPECT_FALSE(watch.released());
  block.reset();
  EXPECT_TRUE(watch.released());
}

}  // namespace
}  // namespace operator_new
