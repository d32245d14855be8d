// The report at the end of a run, and the latencies in it.

#include "host/report.h"

#include <gtest/gtest.h>

namespace host {
namespace {

using std::chrono::microseconds;

TEST(LatencyRecord, MedianAndWorstAreKept) {
  LatencyRecord record;
  for (int i = 1; i <= 99; ++i) record.Add(microseconds(i));
  record.Add(microseconds(50000));
  EXPECT_EQ(record.count(), 100u);
  EXPECT_NEAR(record.MedianMilliseconds(), 0.050, 0.050 * 0.05);
  EXPECT_EQ(record.WorstMilliseconds(), 50.0);
}

TEST(LatencyRecord, EmptyRecordIsZero) {
  const LatencyRecord record;
  EXPECT_EQ(record.MedianMilliseconds(), 0.0);
  EXPECT_EQ(record.WorstMilliseconds(), 0.0);
}

TEST(LatencyRecord, ExtremesAreTaken) {
  LatencyRecord record;
  record.Add(std::chrono::nanoseconds(0));
  EXPECT_EQ(record.MedianMilliseconds(), 0.0);
  record.Add(std::chrono::hours(1));
  record.Add(std::chrono::hours(1));
  EXPECT_EQ(record.WorstMilliseconds(), 3600000.0);
  EXPECT_GT(record.MedianMilliseconds(), 90000.0);
}

RunFigures SomeFigures() {
  RunFigures figures;
  figures.seconds = 20.04;
  figures.width = 640;
  figures.height = 480;
  figures.frames_drawn = 601;
  figures.frames_fetched = 600;
  figures.commands_sent = 2007;
  figures.orientation_latency.Add(microseconds(1500));
  figures.create_texture_ms = 34.56;
  figures.load_model_ms = 1.2;
  return figures;
}

// The median is the middle of its bin: 1.470 ms stands for 1.5 ms.
TEST(ReportText, WindowRunHasNoFiles) {
  EXPECT_EQ(ReportText(SomeFigures()),
            "Ran for 20.0 s at 640x480:\n"
            "  frames drawn      601, 30.0 per second\n"
            "  frames fetched    600\n"
            "  commands sent     2007\n"
            "  command latency   median 1.470 ms, worst 1.500 ms, of 1 orientations\n"
            "  set-up            createTexture 34.6 ms, loadModel 1.2 ms\n");
}

TEST(ReportText, HeadlessRunNamesItsFiles) {
  RunFigures figures = SomeFigures();
  figures.orientation_latency = LatencyRecord();
  figures.files.emplace();
  figures.files->stills = {"out/frame_01.png", "out/frame_02.png", "out/frame_03.png"};
  figures.files->contact_sheet = "out/contact_sheet.png";
  figures.files->animation = "out/orientation.webp";
  figures.files->animation_cut_off = true;
  figures.files->frames_left_out = 3;
  figures.log_path = "out/plugin.log";
  EXPECT_EQ(ReportText(figures),
            "Ran for 20.0 s at 640x480:\n"
            "  frames drawn      601, 30.0 per second\n"
            "  frames fetched    600\n"
            "  commands sent     2007\n"
            "  command latency   no orientation was sent\n"
            "  set-up            createTexture 34.6 ms, loadModel 1.2 ms\n"
            "  files written     out/frame_01.png to out/frame_03.png\n"
            "                    out/contact_sheet.png\n"
            "                    out/orientation.webp (the first 60 s of the run)\n"
            "                    out/plugin.log (the plug-in's own lines)\n"
            "  left out          3 frames that the encoder had no time for\n");
}

}  // namespace
}  // namespace host
