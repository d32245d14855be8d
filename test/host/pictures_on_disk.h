// Reads back what the host writes.

#ifndef TEST_HOST_PICTURES_ON_DISK_H_
#define TEST_HOST_PICTURES_ON_DISK_H_

#include <webp/demux.h>

#include <cstdint>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/cairo_surface.h"
#include "test/support/files.h"

/// A PNG file, as cairo has it: colours multiplied by alpha.
class PngOnDisk {
 public:
  explicit PngOnDisk(const std::string& path) : surface_(cairo_image_surface_create_from_png(path.c_str())) {
    const cairo_status_t status = cairo_surface_status(surface_.get());
    if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error(path + ": " + cairo_status_to_string(status));
  }

  int width() const { return cairo_image_surface_get_width(surface_.get()); }
  int height() const { return cairo_image_surface_get_height(surface_.get()); }

  /// 0xAARRGGBB. A picture without transparency has 0xFF there.
  uint32_t Pixel(int x, int y) const {
    uint32_t pixel;
    std::memcpy(
        &pixel,
        cairo_image_surface_get_data(surface_.get()) + y * cairo_image_surface_get_stride(surface_.get()) + 4 * x,
        sizeof(pixel));
    return cairo_image_surface_get_format(surface_.get()) == CAIRO_FORMAT_RGB24 ? pixel | 0xFF000000u : pixel;
  }

 private:
  host::CairoSurface surface_;
};

/// An animated WebP file, decoded to the end.
struct WebPOnDisk {
  struct Picture {
    std::vector<uint8_t> rgba;
    int end_ms = 0;  // when the next one takes its place
  };

  explicit WebPOnDisk(const std::string& path) {
    const std::string file = ReadFile(path);
    const WebPData data = {reinterpret_cast<const uint8_t*>(file.data()), file.size()};
    WebPAnimDecoderOptions options;
    WebPAnimDecoderOptionsInit(&options);
    options.color_mode = MODE_RGBA;
    const std::unique_ptr<WebPAnimDecoder, decltype(&WebPAnimDecoderDelete)> decoder(
        WebPAnimDecoderNew(&data, &options), WebPAnimDecoderDelete);
    if (!decoder) throw std::runtime_error(path + " is no WebP picture");
    WebPAnimInfo info;
    WebPAnimDecoderGetInfo(decoder.get(), &info);
    width = static_cast<int>(info.canvas_width);
    height = static_cast<int>(info.canvas_height);
    loop_count = static_cast<int>(info.loop_count);
    while (WebPAnimDecoderHasMoreFrames(decoder.get())) {
      uint8_t* pixels = nullptr;
      Picture picture;
      if (!WebPAnimDecoderGetNext(decoder.get(), &pixels, &picture.end_ms)) throw std::runtime_error(path);
      picture.rgba.assign(pixels, pixels + static_cast<size_t>(width) * static_cast<size_t>(height) * 4);
      pictures.push_back(std::move(picture));
    }
  }

  int width = 0;
  int height = 0;
  int loop_count = -1;
  std::vector<Picture> pictures;
};

#endif  // TEST_HOST_PICTURES_ON_DISK_H_
