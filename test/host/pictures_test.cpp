// The pictures of a run: which frames are kept, the stills, the contact sheet, the animation.

#include "host/pictures.h"

#include <gtest/gtest.h>

#include "host/animation.h"
#include "test/host/failure.h"
#include "test/host/pictures_on_disk.h"
#include "test/support/files.h"

namespace host {
namespace {

std::shared_ptr<Frame> PlainFrame(int width, int height, std::vector<uint8_t> rgba) {
  auto frame = std::make_shared<Frame>();
  frame->width = width;
  frame->height = height;
  for (int i = 0; i < width * height; ++i) frame->rgba.insert(frame->rgba.end(), rgba.begin(), rgba.end());
  return frame;
}

TimedFrame At(double seconds, std::shared_ptr<const Frame> frame = nullptr) {
  TimedFrame timed;
  timed.frame = std::move(frame);
  timed.seconds = seconds;
  return timed;
}

// ---- Which frames are kept --------------------------------------------------------------------------------

std::vector<double> SpreadOf(size_t capacity, int frames, size_t count) {
  FrameReservoir reservoir(capacity);
  for (int i = 0; i < frames; ++i) reservoir.Add(At(i));
  std::vector<double> seconds;
  for (const TimedFrame& frame : reservoir.Spread(count)) seconds.push_back(frame.seconds);
  return seconds;
}

TEST(FrameReservoir, AllFramesComeBackWhereThereAreFew) {
  EXPECT_EQ(SpreadOf(8, 0, 4), (std::vector<double>{}));
  EXPECT_EQ(SpreadOf(8, 1, 4), (std::vector<double>{0}));
  EXPECT_EQ(SpreadOf(8, 4, 4), (std::vector<double>{0, 1, 2, 3}));
}

TEST(FrameReservoir, SpreadRunsFromTheFirstToTheLastKeptFrame) {
  EXPECT_EQ(SpreadOf(8, 7, 4), (std::vector<double>{0, 2, 4, 6}));
  EXPECT_EQ(SpreadOf(100, 100, 4), (std::vector<double>{0, 33, 66, 99}));
  EXPECT_EQ(SpreadOf(100, 100, 1), (std::vector<double>{0}));
}

TEST(FrameReservoir, FullReservoirKeepsEverySecondFrameFromThenOn) {
  EXPECT_EQ(SpreadOf(4, 5, 10), (std::vector<double>{0, 2, 4}));
  EXPECT_EQ(SpreadOf(4, 8, 10), (std::vector<double>{0, 2, 4, 6}));
  EXPECT_EQ(SpreadOf(4, 9, 10), (std::vector<double>{0, 4, 8}));
  EXPECT_EQ(SpreadOf(5, 6, 10), (std::vector<double>{0, 2, 4}));  // an odd capacity leaves frame 5 out
  EXPECT_EQ(SpreadOf(5, 7, 10), (std::vector<double>{0, 2, 4, 6}));
}

TEST(FrameReservoir, NeverHoldsMoreThanItsCapacityAndStaysEvenlySpaced) {
  for (const size_t capacity : {2u, 3u, 7u, 48u}) {
    FrameReservoir reservoir(capacity);
    for (int i = 0; i < 2000; ++i) {
      reservoir.Add(At(i));
      const std::vector<TimedFrame> kept = reservoir.Spread(capacity + 1);
      ASSERT_LE(kept.size(), capacity);
      ASSERT_GE(kept.size(), std::min<size_t>(static_cast<size_t>(i) + 1, capacity / 2));
      for (size_t k = 2; k < kept.size(); ++k) {
        ASSERT_EQ(kept[k].seconds - kept[k - 1].seconds, kept[1].seconds - kept[0].seconds);
      }
    }
  }
}

TEST(FrameReservoir, SpreadGoesByTimeNotByNumber) {
  FrameReservoir reservoir(100);
  for (const double seconds : {0.0, 0.1, 0.2, 0.3, 5.0, 9.0, 10.0}) reservoir.Add(At(seconds));
  const std::vector<TimedFrame> spread = reservoir.Spread(3);
  ASSERT_EQ(spread.size(), 3u);
  EXPECT_EQ(spread[0].seconds, 0.0);
  EXPECT_EQ(spread[1].seconds, 5.0);
  EXPECT_EQ(spread[2].seconds, 10.0);
}

// ---- PNG --------------------------------------------------------------------------------------------------

TEST(WritePng, PixelsReadBackInTheirPlacesWithTheirChannels) {
  const TemporaryFolder folder;
  Frame frame;
  frame.width = 3;
  frame.height = 2;
  frame.rgba = {255, 0,   0,   255, /**/ 0,  255, 0,  255, /**/ 0,   0,   255, 255,  //
                10,  128, 200, 255, /**/ 99, 99,  99, 0,   /**/ 255, 255, 255, 128};
  WritePng(frame, folder.PathOf("frame.png"));

  const PngOnDisk png(folder.PathOf("frame.png"));
  ASSERT_EQ(png.width(), 3);
  ASSERT_EQ(png.height(), 2);
  EXPECT_EQ(png.Pixel(0, 0), 0xFFFF0000u);
  EXPECT_EQ(png.Pixel(1, 0), 0xFF00FF00u);
  EXPECT_EQ(png.Pixel(2, 0), 0xFF0000FFu);
  EXPECT_EQ(png.Pixel(0, 1), 0xFF0A80C8u);
  EXPECT_EQ(png.Pixel(1, 1), 0x00000000u);  // what is transparent has no colour
  EXPECT_EQ(png.Pixel(2, 1), 0x80808080u);  // white, half transparent, multiplied by alpha
}

TEST(WritePng, FailureNamesTheFile) {
  const TemporaryFolder folder;
  const std::string path = folder.PathOf("no/such/folder.png");
  EXPECT_EQ(FailureOf([&] {
              WritePng(*PlainFrame(1, 1, {0, 0, 0, 0}), path);
            }),
            "cannot write " + path + ": No such file or directory");
}

// ---- Contact sheet ----------------------------------------------------------------------------------------

constexpr uint32_t kBackdrop = 0xFF2B2E33;
constexpr uint32_t kSheet = 0xFF1C1E21;

bool HasWriting(const PngOnDisk& sheet, int left, int top, int width, int height) {
  for (int y = top; y < top + height; ++y) {
    for (int x = left; x < left + width; ++x) {
      if (sheet.Pixel(x, y) != kSheet) return true;
    }
  }
  return false;
}

TEST(WriteContactSheet, FramesStandInRowsOfFourWithWritingUnderEach) {
  const TemporaryFolder folder;
  std::vector<TimedFrame> frames(4, At(0, PlainFrame(64, 48, {200, 100, 50, 255})));
  frames.push_back(At(1.5, PlainFrame(64, 48, {10, 20, 30, 255})));
  WriteContactSheet(frames, folder.PathOf("sheet.png"));

  // Pictures of 240 x 180, 40 for the writing, 12 around each.
  const PngOnDisk sheet(folder.PathOf("sheet.png"));
  ASSERT_EQ(sheet.width(), 12 + 4 * (240 + 12));
  ASSERT_EQ(sheet.height(), 12 + 2 * (180 + 40 + 12));
  EXPECT_EQ(sheet.Pixel(5, 5), kSheet);
  for (int column = 0; column < 4; ++column) {
    const int left = 12 + column * 252;
    EXPECT_EQ(sheet.Pixel(left + 120, 12 + 90), 0xFFC86432u) << column;
    EXPECT_TRUE(HasWriting(sheet, left, 12 + 180, 240, 20)) << "time under " << column;
    EXPECT_TRUE(HasWriting(sheet, left, 12 + 180 + 20, 240, 20)) << "orientation under " << column;
  }
  EXPECT_EQ(sheet.Pixel(12 + 120, 12 + 232 + 90), 0xFF0A141Eu) << "the fifth in the second row";
  EXPECT_FALSE(HasWriting(sheet, 12 + 252, 12 + 232, 240, 220)) << "nothing where there is no frame";
}

TEST(WriteContactSheet, TransparentPixelsShowTheBackdrop) {
  const TemporaryFolder folder;
  WriteContactSheet({At(0, PlainFrame(64, 48, {255, 255, 255, 0}))}, folder.PathOf("sheet.png"));
  const PngOnDisk sheet(folder.PathOf("sheet.png"));
  EXPECT_EQ(sheet.width(), 12 + 252) << "no wider than its frames";
  EXPECT_EQ(sheet.Pixel(12 + 120, 12 + 90), kBackdrop);
}

TEST(WriteContactSheet, FramesOfOddShapesKeepTheirShape) {
  const TemporaryFolder folder;
  WriteContactSheet({At(0, PlainFrame(10, 400, {255, 0, 0, 255}))}, folder.PathOf("high.png"));
  const PngOnDisk high(folder.PathOf("high.png"));
  EXPECT_EQ(high.height(), 12 + 480 + 40 + 12);
  EXPECT_EQ(high.Pixel(12 + 120, 12 + 240), 0xFFFF0000u);
  EXPECT_EQ(high.Pixel(12 + 100, 12 + 240), kBackdrop) << "12 wide, in the middle";

  WriteContactSheet({At(0, PlainFrame(4000, 1, {255, 0, 0, 255}))}, folder.PathOf("wide.png"));
  EXPECT_EQ(PngOnDisk(folder.PathOf("wide.png")).height(), 12 + 1 + 40 + 12);
}

TEST(WriteContactSheet, FailsWithoutFrames) {
  EXPECT_EQ(FailureOf([] { WriteContactSheet({}, "sheet.png"); }), "cannot write sheet.png: there are no frames");
}

// ---- Animation --------------------------------------------------------------------------------------------

// No two alike, nor nearly so: libwebp makes one picture of two such.
std::shared_ptr<Frame> NumberedFrame(int number, int width = 64, int height = 48) {
  const auto level = static_cast<uint8_t>(number * 25 % 250);
  return PlainFrame(width, height, {level, static_cast<uint8_t>(255 - level), 128, 255});
}

TEST(Animation, EveryPictureCanBeDecodedAgainAtItsTime) {
  const TemporaryFolder folder;
  Animation animation;
  for (int i = 0; i < 10; ++i) animation.Add(At(3.0 + 0.1 * i, NumberedFrame(i)));
  animation.Write(folder.PathOf("a.webp"));

  EXPECT_EQ(animation.picture_count(), 10u);
  const WebPOnDisk webp(folder.PathOf("a.webp"));
  EXPECT_EQ(webp.width, 64);
  EXPECT_EQ(webp.height, 48);
  EXPECT_EQ(webp.loop_count, 0) << "for ever";
  ASSERT_EQ(webp.pictures.size(), 10u);
  for (int i = 0; i < 10; ++i) {
    const WebPOnDisk::Picture& picture = webp.pictures[static_cast<size_t>(i)];
    EXPECT_EQ(picture.end_ms, i < 9 ? 100 * (i + 1) : 966);
    const size_t middle = (24 * 64 + 32) * 4;
    EXPECT_NEAR(picture.rgba[middle], i * 25, 4);  // the compression is lossy
    EXPECT_NEAR(picture.rgba[middle + 1], 255 - i * 25, 4);
    EXPECT_EQ(picture.rgba[middle + 3], 255);
  }
}

TEST(Animation, AboutFifteenPicturesASecondAreTaken) {
  Animation animation;
  for (int i = 0; i < 90; ++i) animation.Add(At(i / 30.0, NumberedFrame(i, 8, 8)));
  EXPECT_EQ(animation.picture_count(), 45u);
}

TEST(Animation, SlowFramesAreAllTaken) {
  Animation animation;
  for (int i = 0; i < 20; ++i) animation.Add(At(i / 10.0, NumberedFrame(i, 8, 8)));
  EXPECT_EQ(animation.picture_count(), 20u);
}

TEST(Animation, RunIsCutOffAfterAMinute) {
  Animation animation;
  animation.Add(At(5.0, NumberedFrame(1, 8, 8)));
  animation.Add(At(65.0, NumberedFrame(2, 8, 8)));
  EXPECT_FALSE(animation.cut_off());
  animation.Add(At(65.5, NumberedFrame(3, 8, 8)));
  EXPECT_TRUE(animation.cut_off());
  EXPECT_EQ(animation.picture_count(), 2u);
}

TEST(Animation, LargeFramesAreScaledDownAndTransparencyShowsTheBackdrop) {
  const TemporaryFolder folder;
  Animation animation;
  animation.Add(At(0, PlainFrame(640, 480, {255, 255, 255, 0})));
  animation.Write(folder.PathOf("a.webp"));
  const WebPOnDisk webp(folder.PathOf("a.webp"));
  EXPECT_EQ(webp.width, 320);
  EXPECT_EQ(webp.height, 240);
  ASSERT_EQ(webp.pictures.size(), 1u);
  EXPECT_NEAR(webp.pictures[0].rgba[0], 0x2B, 3);
  EXPECT_NEAR(webp.pictures[0].rgba[1], 0x2E, 3);
  EXPECT_NEAR(webp.pictures[0].rgba[2], 0x33, 3);
  EXPECT_EQ(webp.pictures[0].rgba[3], 255);
}

TEST(Animation, ScreenSizedFramesAreNoScreenInTheAnimation) {
  const TemporaryFolder folder;
  Animation animation;
  animation.Add(At(0, PlainFrame(1600, 1200, {1, 2, 3, 255})));
  animation.Write(folder.PathOf("a.webp"));
  EXPECT_EQ(WebPOnDisk(folder.PathOf("a.webp")).width, 480);
}

TEST(Animation, FailuresAreOneLineEach) {
  EXPECT_EQ(FailureOf([] { Animation().Write("a.webp"); }), "cannot make the animation: there are no frames");
  const TemporaryFolder folder;
  Animation animation;
  animation.Add(At(0, NumberedFrame(1, 8, 8)));
  const std::string path = folder.PathOf("no/such/folder.webp");
  EXPECT_EQ(FailureOf([&] { animation.Write(path); }), "cannot write " + path + ": No such file or directory");
}

}  // namespace
}  // namespace host
