#include "host/cairo_surface.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "host/host_error.h"

namespace host {

namespace {

uint32_t Premultiplied(uint32_t channel, uint32_t alpha) { return (channel * alpha + 127) / 255; }

}  // namespace

CairoSurface MakeSurface(int width, int height) {
  CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
  const cairo_status_t status = cairo_surface_status(surface.get());
  if (status != CAIRO_STATUS_SUCCESS) {
    throw HostError("cannot make a picture of " + std::to_string(width) + "x" + std::to_string(height) + ": " +
                    cairo_status_to_string(status));
  }
  return surface;
}

CairoSurface SurfaceOf(const Frame& frame) {
  CairoSurface surface = MakeSurface(frame.width, frame.height);
  cairo_surface_flush(surface.get());
  unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<size_t>(cairo_image_surface_get_stride(surface.get()));
  const uint8_t* rgba = frame.rgba.data();
  for (size_t y = 0; y < static_cast<size_t>(frame.height); ++y) {
    unsigned char* pixel = pixels + y * stride;
    for (int x = 0; x < frame.width; ++x, rgba += 4, pixel += 4) {
      const uint32_t alpha = rgba[3];
      const uint32_t argb = alpha << 24 | Premultiplied(rgba[0], alpha) << 16 | Premultiplied(rgba[1], alpha) << 8 |
                            Premultiplied(rgba[2], alpha);
      std::memcpy(pixel, &argb, sizeof(argb));
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

void PaintBackdrop(cairo_t* context, double x, double y, double width, double height) {
  cairo_set_source_rgb(context, 0.17, 0.18, 0.20);
  cairo_rectangle(context, x, y, width, height);
  cairo_fill(context);
}

void PaintScaled(cairo_t* context, cairo_surface_t* image, double x, double y, double width, double height) {
  cairo_save(context);
  cairo_translate(context, x, y);
  cairo_scale(context, width / cairo_image_surface_get_width(image), height / cairo_image_surface_get_height(image));
  cairo_set_source_surface(context, image, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_GOOD);
  cairo_paint(context);
  cairo_restore(context);
}

}  // namespace host
