// The recorder, which writes a run's pictures while it goes on and at its end.

#include "host/recorder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <future>
#include <memory>
#include <thread>

#include "test/host/failure.h"
#include "test/host/pictures_on_disk.h"
#include "test/support/files.h"

namespace host {
namespace {

TimedFrame FrameAt(double seconds) {
  auto frame = std::make_shared<Frame>();
  frame->width = 8;
  frame->height = 6;
  const auto level = static_cast<uint8_t>(static_cast<int>(seconds) * 50);
  for (int i = 0; i < 8 * 6; ++i) frame->rgba.insert(frame->rgba.end(), {level, level, 255, 255});
  TimedFrame timed;
  timed.frame = std::move(frame);
  timed.seconds = seconds;
  return timed;
}

void IgnoreFirst(const std::string&) {}

TEST(Recorder, AllFilesAreWrittenAndNamed) {
  const TemporaryFolder folder;
  Recorder recorder(folder.path(), 3, 8 * 6 * 4, IgnoreFirst);
  for (int i = 0; i < 5; ++i) recorder.Add(FrameAt(i));
  recorder.Close();
  const Recorder::Files files = recorder.Finish();

  EXPECT_EQ(files.stills, (std::vector<std::string>{folder.PathOf("frame_01.png"), folder.PathOf("frame_02.png"),
                                                    folder.PathOf("frame_03.png")}));
  EXPECT_EQ(files.contact_sheet, folder.PathOf("contact_sheet.png"));
  EXPECT_EQ(files.animation, folder.PathOf("orientation.webp"));
  EXPECT_FALSE(files.animation_cut_off);
  EXPECT_EQ(files.frames_left_out, 0u);
  EXPECT_EQ(PngOnDisk(files.stills[1]).width(), 8);
  EXPECT_EQ(PngOnDisk(files.contact_sheet).width(), 12 + 3 * 252);
  EXPECT_EQ(WebPOnDisk(files.animation).pictures.size(), 5u);
}

TEST(Recorder, FramesThatTheEncoderHasNoTimeForAreCountedNotQueued) {
  const TemporaryFolder folder;
  std::promise<void> held;
  std::promise<void> go_on;
  Recorder recorder(folder.path(), 12, 8 * 6 * 4, [&](const std::string&) {
    held.set_value();
    go_on.get_future().wait();
  });
  recorder.Add(FrameAt(0));
  held.get_future().wait();
  for (int i = 1; i <= 8 + 5; ++i) recorder.Add(FrameAt(i));
  go_on.set_value();
  recorder.Close();
  const Recorder::Files files = recorder.Finish();
  EXPECT_EQ(files.frames_left_out, 5u);
  EXPECT_EQ(files.stills.size(), 1u + 8u);
}

TEST(Recorder, FirstPictureIsThereLongBeforeTheEndOfTheRun) {
  const TemporaryFolder folder;
  std::promise<std::string> first;
  Recorder recorder(folder.path(), 100, 8 * 6 * 4, [&](const std::string& path) { first.set_value(path); });
  recorder.Add(FrameAt(2));
  const std::string path = first.get_future().get();
  EXPECT_EQ(path, folder.PathOf("frame_001.png")) << "as many digits as the last one may need";
  EXPECT_EQ(PngOnDisk(path).Pixel(4, 3), 0xFF6464FFu);

  for (int i = 3; i < 6; ++i) recorder.Add(FrameAt(i));
  recorder.Close();
  const Recorder::Files files = recorder.Finish();
  ASSERT_EQ(files.stills.size(), 4u);
  EXPECT_EQ(files.stills[0], path);
  EXPECT_EQ(PngOnDisk(files.stills[0]).Pixel(4, 3), 0xFF6464FFu);
  EXPECT_EQ(PngOnDisk(files.stills[1]).Pixel(4, 3), 0xFF9696FFu);
}

TEST(Recorder, FilesAreWrittenWithoutSomebodyWaitingForThem) {
  const TemporaryFolder folder;
  {
    Recorder recorder(folder.path(), 1, 8 * 6 * 4, IgnoreFirst);
    recorder.Add(FrameAt(0));
    recorder.Close();
    recorder.Add(FrameAt(1));  // too late
  }
  EXPECT_EQ(PngOnDisk(folder.PathOf("frame_01.png")).width(), 8);
  EXPECT_EQ(WebPOnDisk(folder.PathOf("orientation.webp")).pictures.size(), 1u);
}

TEST(Recorder, NothingButTheFirstPictureIsWrittenWithoutAnEndOfTheRun) {
  const TemporaryFolder folder;
  {
    Recorder recorder(folder.path(), 3, 8 * 6 * 4, IgnoreFirst);
    for (int i = 0; i < 5; ++i) recorder.Add(FrameAt(i));
  }
  EXPECT_EQ(folder.Names(), (std::vector<std::string>{"frame_01.png"}));
}

TEST(Recorder, FailsWhenThereWasNoFrame) {
  const TemporaryFolder folder;
  Recorder recorder(folder.path(), 3, 8 * 6 * 4, IgnoreFirst);
  recorder.Close();
  EXPECT_EQ(FailureOf([&] { recorder.Finish(); }), "the plug-in drew no frame during the run");
}

TEST(Recorder, FailsWhenAFileCannotBeWritten) {
  const TemporaryFolder folder;
  std::filesystem::create_directory(folder.PathOf("contact_sheet.png"));
  Recorder recorder(folder.path(), 3, 8 * 6 * 4, IgnoreFirst);
  recorder.Add(FrameAt(0));
  recorder.Close();
  EXPECT_EQ(FailureOf([&] { recorder.Finish(); }),
            "cannot write " + folder.PathOf("contact_sheet.png") + ": Is a directory");
}

TEST(Recorder, FirstPictureThatCannotBeWrittenIsToldDuringTheRun) {
  Recorder recorder("/no/such/folder", 3, 8 * 6 * 4, IgnoreFirst);
  recorder.Check();
  recorder.Add(FrameAt(0));
  const auto wait_for_the_failure = [&] {
    for (;; std::this_thread::yield()) recorder.Check();
  };
  EXPECT_EQ(FailureOf(wait_for_the_failure), "cannot write /no/such/folder/frame_01.png: No such file or directory");
}

}  // namespace
}  // namespace host
