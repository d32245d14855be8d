#include "host/recorder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "host/host_error.h"
#include "test/host/pictures_on_disk.h"
#include "test/host/temp_folder.h"

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

TEST(Recorder, AllFilesAreWrittenAndNamed) {
  const TempFolder folder;
  Recorder recorder(folder.path(), 3, 8 * 6 * 4);
  for (int i = 0; i < 5; ++i) recorder.Add(FrameAt(i));
  recorder.Close();
  const Recorder::Files files = recorder.Finish();

  EXPECT_EQ(files.stills, (std::vector<std::string>{folder.File("frame_01.png"), folder.File("frame_02.png"),
                                                    folder.File("frame_03.png")}));
  EXPECT_EQ(files.contact_sheet, folder.File("contact_sheet.png"));
  EXPECT_EQ(files.animation, folder.File("orientation.webp"));
  EXPECT_FALSE(files.animation_cut_off);
  EXPECT_EQ(files.frames_left_out, 0u);
  EXPECT_EQ(PngOnDisk(files.stills[1]).width(), 8);
  EXPECT_EQ(PngOnDisk(files.contact_sheet).width(), 12 + 3 * 252);
  EXPECT_EQ(WebPOnDisk(files.animation).pictures.size(), 5u);
}

TEST(Recorder, FramesThatTheEncoderHasNoTimeForAreCountedNotQueued) {
  const TempFolder folder;
  Recorder recorder(folder.path(), 2, 8 * 6 * 4);
  constexpr int kFrames = 20000;
  for (int i = 0; i < kFrames; ++i) recorder.Add(FrameAt(i * 0.001));
  recorder.Close();
  EXPECT_GT(recorder.Finish().frames_left_out, 0u);
}

TEST(Recorder, FilesAreWrittenWithoutSomebodyWaitingForThem) {
  const TempFolder folder;
  {
    Recorder recorder(folder.path(), 1, 8 * 6 * 4);
    recorder.Add(FrameAt(0));
    recorder.Close();
    recorder.Add(FrameAt(1));  // too late
  }
  EXPECT_EQ(PngOnDisk(folder.File("frame_01.png")).width(), 8);
  EXPECT_EQ(WebPOnDisk(folder.File("orientation.webp")).pictures.size(), 1u);
}

TEST(Recorder, NothingIsWrittenWithoutAnEndOfTheRun) {
  const TempFolder folder;
  {
    Recorder recorder(folder.path(), 1, 8 * 6 * 4);
    recorder.Add(FrameAt(0));
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST(Recorder, FailsWhenThereWasNoFrame) {
  const TempFolder folder;
  Recorder recorder(folder.path(), 3, 8 * 6 * 4);
  recorder.Close();
  try {
    recorder.Finish();
    FAIL() << "no failure";
  } catch (const HostError& error) {
    EXPECT_STREQ(error.what(), "the plug-in drew no frame during the run");
  }
}

TEST(Recorder, FailsWhenAFileCannotBeWritten) {
  Recorder recorder("/no/such/folder", 3, 8 * 6 * 4);
  recorder.Add(FrameAt(0));
  recorder.Close();
  try {
    recorder.Finish();
    FAIL() << "no failure";
  } catch (const HostError& error) {
    EXPECT_STREQ(error.what(),
                 "cannot write /no/such/folder/frame_01.png: No such file or directory");
  }
}

}  // namespace
}  // namespace host
