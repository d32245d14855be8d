#ifndef TEST_MODEL_TOOL_PNG_H_
#define TEST_MODEL_TOOL_PNG_H_

#include <gtest/gtest.h>
#include <png.h>

#include <array>
#include <cstdint>
#include <vector>

namespace model_tool_test {

using Rgba = std::array<uint8_t, 4>;

/// A picture's file.
inline std::vector<uint8_t> Png(uint32_t width, uint32_t height, const std::vector<Rgba>& pixels) {
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  image.width = width;
  image.height = height;
  image.format = PNG_FORMAT_RGBA;
  png_alloc_size_t size = 0;
  EXPECT_TRUE(png_image_write_get_memory_size(image, size, 0, pixels.data(), 0, nullptr));
  std::vector<uint8_t> bytes(size);
  EXPECT_TRUE(png_image_write_to_memory(&image, bytes.data(), &size, 0, pixels.data(), 0, nullptr));
  bytes.resize(size);
  return bytes;
}

}  // namespace model_tool_test

#endif  // TEST_MODEL_TOOL_PNG_H_
