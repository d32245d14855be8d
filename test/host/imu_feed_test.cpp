// When a recorded run's orientations, and those of a sensor, are due.

#include "host/imu_feed.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>

#include "test/host/failure.h"
#include "test/host/pipe.h"

namespace host {
namespace {

using Clock = ImuFeed::Clock;
using std::chrono::milliseconds;

const Clock::time_point kStart = Clock::now();

std::vector<ImuSample> Samples(const std::vector<double>& times) {
  std::vector<ImuSample> samples;
  for (const double seconds : times) samples.push_back({seconds, Angles{seconds, 0, 0}});
  return samples;
}

// The roll of everything that is due, which tells the samples apart.
std::vector<double> TakeAll(ImuFeed& feed, Clock::time_point now) {
  std::vector<double> rolls;
  while (const auto orientation = feed.TakeDue(now)) rolls.push_back(std::get<Angles>(*orientation).roll);
  return rolls;
}

// ---- RecordedFeed -----------------------------------------------------------------------------------------

TEST(RecordedFeed, SamplesAreDueAtTheirTimesAfterTheFirst) {
  RecordedFeed feed(Samples({100.0, 100.5, 101.0}), false);
  feed.Start(kStart);
  EXPECT_EQ(feed.length_s(), 1.0);
  EXPECT_EQ(TakeAll(feed, kStart), (std::vector<double>{100.0}));
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(499)), (std::vector<double>{}));
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(500)), (std::vector<double>{100.5}));
  EXPECT_FALSE(feed.ended());
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(1000)), (std::vector<double>{101.0}));
  EXPECT_TRUE(feed.ended());
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(9000)), (std::vector<double>{}));
}

TEST(RecordedFeed, LateSamplesComeAllAndInOrder) {
  RecordedFeed feed(Samples({0.0, 0.1, 0.2, 5.0}), false);
  feed.Start(kStart);
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(1000)), (std::vector<double>{0.0, 0.1, 0.2}));
}

TEST(RecordedFeed, RepeatedRunBeginsAgainAfterItsEnd) {
  RecordedFeed feed(Samples({0.0, 0.9}), true);
  feed.Start(kStart);
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(950)), (std::vector<double>{0.0, 0.9}));
  EXPECT_FALSE(feed.ended());
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(1050)), (std::vector<double>{0.0}));
  EXPECT_EQ(TakeAll(feed, kStart + milliseconds(3999)), (std::vector<double>{0.9, 0.0, 0.9, 0.0, 0.9}));
}

TEST(RecordedFeed, AbsurdTimesAreWaitedForAndNothingElse) {
  RecordedFeed feed(Samples({0.0, 1e300}), false);
  feed.Start(kStart);
  EXPECT_EQ(TakeAll(feed, kStart + std::chrono::hours(24)), (std::vector<double>{0.0}));
}

// ---- LiveFeed ---------------------------------------------------------------------------------------------

class LiveFeedTest : public ::testing::Test {
 protected:
  LiveFeedTest() {
    feed_ = std::make_unique<LiveFeed>(pipe_.reading_end(), "sensor");
    feed_->Start(kStart);
  }

  void Send(const std::string& text) { pipe_.Write(text); }
  void EndInput() { pipe_.CloseWriting(); }
  // Waits until the reading thread has something, or the input's end, to show for it.
  void WaitForMore() { feed_->WaitUntil(Clock::now() + std::chrono::minutes(1)); }

  // Everything up to the end of the input, whenever it is due.
  std::vector<double> TakeToTheEnd() {
    std::vector<double> rolls;
    while (!feed_->ended()) {
      WaitForMore();
      const std::vector<double> more = TakeAll(*feed_, Clock::now() + std::chrono::hours(1));
      rolls.insert(rolls.end(), more.begin(), more.end());
    }
    return rolls;
  }

  Pipe pipe_;
  std::unique_ptr<LiveFeed> feed_;
};

TEST_F(LiveFeedTest, SamplesWithoutTimesAreDueAsTheyCome) {
  Send("roll,pitch,yaw\n1,0,0\n2,0,0\n");
  EndInput();
  EXPECT_EQ(TakeToTheEnd(), (std::vector<double>{1, 2}));
  EXPECT_TRUE(feed_->ended());
}

TEST_F(LiveFeedTest, LinesMayArriveInPieces) {
  Send("roll,pit");
  Send("ch,yaw\n1,0,0\n2,");
  WaitForMore();
  EXPECT_EQ(TakeAll(*feed_, kStart), (std::vector<double>{1}));
  Send("0,0\n");
  WaitForMore();
  EXPECT_EQ(TakeAll(*feed_, kStart), (std::vector<double>{2}));
  EXPECT_FALSE(feed_->ended());
}

TEST_F(LiveFeedTest, LastLineNeedsNoNewline) {
  Send("roll,pitch,yaw\n1,0,0\n2,0,0");
  EndInput();
  EXPECT_EQ(TakeToTheEnd(), (std::vector<double>{1, 2}));
}

TEST_F(LiveFeedTest, TimedSamplesAreDueByTheirTimesAfterTheFirstArrival) {
  Send("t,roll,pitch,yaw\n50,1,0,0\n50.5,2,0,0\n50.2,3,0,0\n");
  EndInput();
  WaitForMore();
  const auto arrival = kStart - milliseconds(7000);
  EXPECT_EQ(TakeAll(*feed_, arrival), (std::vector<double>{1}));
  EXPECT_EQ(TakeAll(*feed_, arrival + milliseconds(499)), (std::vector<double>{}));
  EXPECT_FALSE(feed_->ended());
  EXPECT_EQ(TakeToTheEnd(), (std::vector<double>{2, 3})) << "the third one is late by then and comes at once";
}

TEST_F(LiveFeedTest, MalformedLineComesOutAfterTheSamplesBeforeIt) {
  Send("roll,pitch,yaw\n1,0,0\nx,0,0\n2,0,0\n");
  WaitForMore();
  std::vector<double> rolls;
  const auto take_all = [&] {
    for (;;) {
      WaitForMore();
      if (const auto orientation = feed_->TakeDue(kStart)) rolls.push_back(std::get<Angles>(*orientation).roll);
    }
  };
  EXPECT_EQ(FailureOf(take_all), "sensor, line 3: expected a number for roll, found \"x\"");
  EXPECT_EQ(rolls, (std::vector<double>{1}));
  EXPECT_TRUE(feed_->ended());
}

TEST_F(LiveFeedTest, InputWithoutSamplesFails) {
  Send("roll,pitch,yaw\n");
  EndInput();
  WaitForMore();
  EXPECT_FALSE(feed_->ended()) << "the failure is still to be told";
  EXPECT_EQ(FailureOf([&] { feed_->TakeDue(kStart); }),
            "sensor: expected samples after the header, found the end of the input");
  EXPECT_TRUE(feed_->ended());
}

TEST_F(LiveFeedTest, LineWithoutEndFailsBeforeItFillsTheMemory) {
  // Longer than a pipe holds: written while the feed reads.
  const std::string piece(4096, 'x');
  for (int i = 0; i < 17; ++i) Send(piece);
  WaitForMore();
  EXPECT_EQ(FailureOf([&] { feed_->TakeDue(kStart); }),
            "sensor, line 1: expected a line of at most 65536 bytes, found a longer one");
}

TEST_F(LiveFeedTest, SamplesFarAheadMakeTheWriterWaitNotTheMemoryGrow) {
  // Many more than are queued; the feed goes away with the reading thread waiting for room.
  std::string lines = "t,roll,pitch,yaw\n";
  for (int i = 0; i < 3000; ++i) lines += std::to_string(i) + ",1,0,0\n";
  Send(lines);
  WaitForMore();
  EXPECT_EQ(TakeAll(*feed_, kStart).size(), 1u);
}

}  // namespace
}  // namespace host
