#include "host/animation.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "host/cairo_surface.h"
#include "host/files.h"
#include "host/host_error.h"

namespace host {

namespace {

constexpr float kQuality = 75.0f;
constexpr int kMethod = 2;  // 0 (fast) to 6 (small): encoding shares the processor with a software renderer

// Half the frame's size, but neither a stamp nor a screen.
double ScaleFor(const Frame& frame) {
  constexpr double kLongestSide = 480;
  constexpr double kShortestLongestSide = 320;
  const double longest = std::max(frame.width, frame.height);
  return std::min(1.0, std::clamp(longest / 2, kShortestLongestSide, kLongestSide) / longest);
}

[[noreturn]] void Fail(const std::string& reason) { throw HostError("cannot make the animation: " + reason); }

struct FreePicture {
  void operator()(WebPPicture* picture) const { WebPPictureFree(picture); }
};

}  // namespace

struct Animation::Encoder {
  int width = 0;
  int height = 0;
  WebPConfig config;
  WebPAnimEncoder* encoder = nullptr;

  ~Encoder() { WebPAnimEncoderDelete(encoder); }
};

Animation::Animation() = default;
Animation::~Animation() = default;

void Animation::Add(const TimedFrame& frame) {
  if (!encoder_) {
    Start(*frame.frame);
    first_s_ = due_s_ = frame.seconds;
  }
  if (frame.seconds - first_s_ > kLongest_s) {
    cut_off_ = true;
    return;
  }
  // Frames come every 33 ms or so: without some grace, one that is a little early would leave it to the next
  // one.
  constexpr double kGrace_s = 0.01;
  if (frame.seconds < due_s_ - kGrace_s) return;
  due_s_ = std::max(due_s_ + 1.0 / kPicturesPerSecond, frame.seconds);

  int timestamp_ms = static_cast<int>(std::lround((frame.seconds - first_s_) * 1000));
  if (picture_count_ > 0) timestamp_ms = std::max(timestamp_ms, last_timestamp_ms_ + 1);
  Encode(*frame.frame, timestamp_ms);
  last_timestamp_ms_ = timestamp_ms;
  ++picture_count_;
}

void Animation::Start(const Frame& frame) {
  encoder_ = std::make_unique<Encoder>();
  const double scale = ScaleFor(frame);
  encoder_->width = std::max(1, static_cast<int>(std::lround(frame.width * scale)));
  encoder_->height = std::max(1, static_cast<int>(std::lround(frame.height * scale)));

  if (!WebPConfigPreset(&encoder_->config, WEBP_PRESET_DRAWING, kQuality)) Fail("libwebp is of another version");
  encoder_->config.method = kMethod;

  WebPAnimEncoderOptions options;
  if (!WebPAnimEncoderOptionsInit(&options)) Fail("libwebpmux is of another version");
  options.anim_params.loop_count = 0;  // for ever
  // Every picture whole: as a difference from the one before, lossy, it would keep faint traces of where the
  // device has been.
  options.kmin = 0;
  options.kmax = 1;
  encoder_->encoder = WebPAnimEncoderNew(encoder_->width, encoder_->height, &options);
  if (encoder_->encoder == nullptr) Fail("no memory");
}

void Animation::Encode(const Frame& frame, int timestamp_ms) {
  const CairoSurface image = SurfaceOf(frame);
  const CairoSurface surface = MakeSurface(encoder_->width, encoder_->height);
  {
    const CairoContext context(cairo_create(surface.get()));
    PaintBackdrop(context.get(), 0, 0, encoder_->width, encoder_->height);
    PaintScaled(context.get(), image.get(), 0, 0, encoder_->width, encoder_->height);
  }
  cairo_surface_flush(surface.get());

  WebPPicture picture;
  if (!WebPPictureInit(&picture)) Fail("libwebp is of another version");
  const std::unique_ptr<WebPPicture, FreePicture> free_picture(&picture);
  picture.use_argb = 1;
  picture.width = encoder_->width;
  picture.height = encoder_->height;
  if (!WebPPictureAlloc(&picture)) Fail("no memory");
  // On the backdrop nothing is transparent, so both libraries' 32-bit words are the same.
  const unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
  const int stride = cairo_image_surface_get_stride(surface.get());
  for (int y = 0; y < picture.height; ++y) {
    std::memcpy(picture.argb + y * picture.argb_stride, pixels + y * stride,
                sizeof(uint32_t) * static_cast<size_t>(picture.width));
  }
  if (!WebPAnimEncoderAdd(encoder_->encoder, &picture, timestamp_ms, &encoder_->config)) {
    Fail(WebPAnimEncoderGetError(encoder_->encoder));
  }
}

void Animation::Write(const std::string& path) {
  if (picture_count_ == 0) Fail("there are no frames");
  const int end_ms = last_timestamp_ms_ + static_cast<int>(1000 / kPicturesPerSecond);
  WebPData data;
  WebPDataInit(&data);
  if (!WebPAnimEncoderAdd(encoder_->encoder, nullptr, end_ms, nullptr) ||
      !WebPAnimEncoderAssemble(encoder_->encoder, &data)) {
    Fail(WebPAnimEncoderGetError(encoder_->encoder));
  }
  const std::unique_ptr<WebPData, decltype(&WebPDataClear)> clear_data(&data, WebPDataClear);
  WriteWholeFile(path, {reinterpret_cast<const char*>(data.bytes), data.size});
}

}  // namespace host
