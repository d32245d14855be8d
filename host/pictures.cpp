#include "host/pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "host/cairo_surface.h"
#include "host/files.h"
#include "host/host_error.h"

namespace host {

namespace {

constexpr int kColumns = 4;
constexpr int kPictureWidth = 240;  // of each picture on the sheet, in pixels, unless it is very high
constexpr int kHighestPicture = 480;
constexpr int kMargin = 12;         // around pictures and sheet
constexpr double kLineHeight = 17;  // of the writing
constexpr double kTextSize = 12;
constexpr int kCaptionHeight = 40;

void WriteSurface(cairo_surface_t* surface, const std::string& path) {
  std::string png;
  const auto append = [](void* text, const unsigned char* bytes, unsigned int size) {
    static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), size);
    return CAIRO_STATUS_SUCCESS;
  };
  const cairo_status_t status = cairo_surface_write_to_png_stream(surface, append, &png);
  if (status != CAIRO_STATUS_SUCCESS) {
    throw HostError("cannot write " + path + ": " + cairo_status_to_string(status));
  }
  WriteWholeFile(path, png);
}

// Centred on `center_x`, in smaller letters where it would be wider than `width`.
void PaintText(cairo_t* context, const std::string& text, double center_x, double baseline_y, double width) {
  cairo_set_font_size(context, kTextSize);
  cairo_text_extents_t extents;
  cairo_text_extents(context, text.c_str(), &extents);
  if (extents.x_advance > width) {
    cairo_set_font_size(context, kTextSize * width / extents.x_advance);
    cairo_text_extents(context, text.c_str(), &extents);
  }
  cairo_move_to(context, center_x - extents.x_advance / 2, baseline_y);
  cairo_show_text(context, text.c_str());
}

std::string SecondsText(double seconds) {
  char text[32];
  std::snprintf(text, sizeof(text), "%.2f s", seconds);
  return text;
}

}  // namespace

void FrameReservoir::Add(const TimedFrame& frame) {
  if (seen_++ % step_ != 0) return;
  if (kept_.size() == capacity_) {
    step_ *= 2;
    size_t kept = 0;
    for (size_t i = 0; i < kept_.size(); i += 2) {
      if (kept != i) kept_[kept] = std::move(kept_[i]);
      ++kept;
    }
    kept_.resize(kept);
    if ((seen_ - 1) % step_ != 0) return;
  }
  kept_.push_back(frame);
}

std::vector<TimedFrame> FrameReservoir::Spread(size_t count) const {
  if (kept_.size() <= count) return kept_;
  const double first_seconds = kept_.front().seconds;
  const double whole_seconds = kept_.back().seconds - first_seconds;
  std::vector<TimedFrame> chosen;
  size_t next = 0;
  for (size_t i = 0; i < count; ++i) {
    const double share = i == 0 ? 0.0 : static_cast<double>(i) / static_cast<double>(count - 1);
    const double target = first_seconds + share * whole_seconds;
    const size_t last_candidate = kept_.size() - (count - i);  // leaves one for each that follows
    const auto distance = [&](size_t candidate) { return std::abs(kept_[candidate].seconds - target); };
    while (next < last_candidate && distance(next + 1) <= distance(next)) ++next;
    chosen.push_back(kept_[next++]);
  }
  return chosen;
}

void WritePng(const Frame& frame, const std::string& path) { WriteSurface(SurfaceOf(frame).get(), path); }

void WriteContactSheet(const std::vector<TimedFrame>& frames, const std::string& path) {
  if (frames.empty()) throw HostError("cannot write " + path + ": there are no frames");
  const Frame& first = *frames.front().frame;
  const double scale =
      std::min(static_cast<double>(kPictureWidth) / first.width, static_cast<double>(kHighestPicture) / first.height);
  const int width = kPictureWidth;
  const int height = std::max(1, static_cast<int>(std::lround(first.height * scale)));
  const int columns = std::min(kColumns, static_cast<int>(frames.size()));
  const int rows = (static_cast<int>(frames.size()) + columns - 1) / columns;
  const int cell_width = width + kMargin;
  const int cell_height = height + kCaptionHeight + kMargin;

  const CairoSurface sheet = MakeSurface(columns * cell_width + kMargin, rows * cell_height + kMargin);
  const CairoContext context(cairo_create(sheet.get()));
  cairo_set_source_rgb(context.get(), 0.11, 0.12, 0.13);
  cairo_paint(context.get());
  cairo_select_font_face(context.get(), "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);

  for (size_t i = 0; i < frames.size(); ++i) {
    const int column = static_cast<int>(i) % columns;
    const int row = static_cast<int>(i) / columns;
    const double x = kMargin + column * cell_width;
    const double y = kMargin + row * cell_height;
    const double picture_width = first.width * scale;
    const CairoSurface picture = SurfaceOf(*frames[i].frame);
    PaintBackdrop(context.get(), x, y, width, height);
    PaintScaled(context.get(), picture.get(), x + (width - picture_width) / 2, y, picture_width, height);

    cairo_set_source_rgb(context.get(), 0.92, 0.93, 0.94);
    PaintText(context.get(), SecondsText(frames[i].seconds), x + width / 2.0, y + height + kLineHeight, width);
    cairo_set_source_rgb(context.get(), 0.68, 0.70, 0.73);
    PaintText(context.get(), OrientationText(frames[i].orientation), x + width / 2.0, y + height + 2 * kLineHeight,
              width);
  }
  WriteSurface(sheet.get(), path);
}

}  // namespace host
