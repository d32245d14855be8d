// The sample device as it has always looked: frames of the built library against pictures in frames/, on whatever
// machine this runs.
//
// ORBISK_GOLDEN_WRITE=1 in the environment writes the pictures anew, to be looked at before they are committed.

#include <png.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "test/golden/poses.h"
#include "test/support/built_library.h"

namespace {

// Mesa's software driver computes four pixels at a time on one processor and eight on another, and rounds otherwise:
// seen are differences of 1 in a channel. Along edges a pixel may belong to one surface or to the other.
constexpr int kChannelTolerance = 2;
constexpr double kOtherPixels = 0.0005;  // of all

struct Picture {
  size_t width = 0;
  size_t height = 0;
  std::vector<uint8_t> rgba;
};

png_image PngImage(size_t width = 0, size_t height = 0) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = static_cast<png_uint_32>(width);
  image.height = static_cast<png_uint_32>(height);
  image.format = PNG_FORMAT_RGBA;
  return image;
}

Picture ReadPng(const std::string& path) {
  png_image image = PngImage();
  if (!png_image_begin_read_from_file(&image, path.c_str())) throw std::runtime_error(path + ": " + image.message);
  image.format = PNG_FORMAT_RGBA;
  Picture picture = {image.width, image.height, std::vector<uint8_t>(PNG_IMAGE_SIZE(image))};
  if (!png_image_finish_read(&image, nullptr, picture.rgba.data(), 0, nullptr)) {
    throw std::runtime_error(path + ": " + image.message);
  }
  return picture;
}

void WritePng(const std::string& path, const Picture& picture) {
  png_image image = PngImage(picture.width, picture.height);
  if (!png_image_write_to_file(&image, path.c_str(), 0, picture.rgba.data(), 0, nullptr)) {
    throw std::runtime_error(path + ": " + image.message);
  }
}

class GoldenFramesTest : public CommandTest, public ::testing::WithParamInterface<Pose> {
 protected:
  GoldenFramesTest() : CommandTest(LoadedRegistration()) {}

  Picture Draw(const Pose& pose) {
    const int64_t id = CreateTexture(pose.width, pose.height);
    EXPECT_EQ(Call("loadModel", Map({{"modelPath", ORBISK_SAMPLE_MODEL}})), "success true");
    EXPECT_EQ(Call("setCameraDistance", Map({{"distance", 2.6}})), "success true");
    for (const auto& [command, arguments] : pose.commands) EXPECT_EQ(Call(command, arguments), "success true");
    const FlutterDesktopPixelBuffer* const frame = Fetch(id);
    EXPECT_EQ(Call("startRendering"), "success true");
    EXPECT_TRUE(WaitForFrames(id, 1));
    EXPECT_EQ(Call("stopRendering"), "success true");
    const Picture picture = {
        frame->width, frame->height, {frame->buffer, frame->buffer + frame->width * frame->height * 4}};
    EXPECT_EQ(Call("dispose"), "success true");
    EXPECT_EQ(err_.Take(), "");
    return picture;
  }
};

TEST_P(GoldenFramesTest, TheSampleDeviceLooksAsEver) {
  const std::string name = GetParam().name + std::string(".png");
  const Picture drawn = Draw(GetParam());
  const std::string golden_path = ORBISK_GOLDEN_FRAMES "/" + name;
  if (std::getenv("ORBISK_GOLDEN_WRITE") != nullptr) WritePng(golden_path, drawn);

  const Picture golden = ReadPng(golden_path);
  ASSERT_EQ(drawn.width, golden.width);
  ASSERT_EQ(drawn.height, golden.height);
  size_t other_pixels = 0;
  int greatest_difference = 0;
  for (size_t pixel = 0; pixel < drawn.rgba.size(); pixel += 4) {
    int difference = 0;
    for (size_t channel = 0; channel < 4; ++channel) {
      difference = std::max(difference, std::abs(drawn.rgba[pixel + channel] - golden.rgba[pixel + channel]));
    }
    other_pixels += difference > kChannelTolerance;
    greatest_difference = std::max(greatest_difference, difference);
  }
  RecordProperty("greatest_difference", greatest_difference);
  RecordProperty("other_pixels", static_cast<int>(other_pixels));
  EXPECT_LE(static_cast<double>(other_pixels), kOtherPixels * static_cast<double>(drawn.width * drawn.height))
      << "the greatest difference is " << greatest_difference;
  if (HasFailure()) {
    const std::string path = std::filesystem::temp_directory_path() / ("orbisk_" + name);
    WritePng(path, drawn);
    ADD_FAILURE() << path << " has the frame, " << golden_path << " what it should be";
  }
}

INSTANTIATE_TEST_SUITE_P(Poses, GoldenFramesTest, ::testing::ValuesIn(Poses()),
                         [](const ::testing::TestParamInfo<Pose>& pose) {
                           std::string name = pose.param.name;
                           std::replace(name.begin(), name.end(), '-', '_');
                           return name;
                         });

}  // namespace

// Mesa's libraries come and go with the plug-in, so that the leak sanitizer cannot tell whose a leak is.
extern "C" __attribute__((visibility("default"))) int __lsan_is_turned_off();
extern "C" int __lsan_is_turned_off() { return 1; }
