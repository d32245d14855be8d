#include "plugin/pixel_texture.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace {

// Null where the byte count has wrapped around to less than such a frame has: the engine would copy past the end.
// A count that is negative throws std::bad_alloc.
std::unique_ptr<FlutterDesktopPixelBuffer> MakePixelBuffer(int width, int height) {
  const size_t byte_count = FrameByteCount(width, height, 4);
  const bool countable = byte_count <= size_t{std::numeric_limits<int32_t>::max()};
  const size_t frame_byte_count = static_cast<size_t>(width) * static_cast<size_t>(height) * 4;
  if (countable && (width < 0 || byte_count < frame_byte_count)) return nullptr;
  auto pixels = std::make_unique<uint8_t[]>(byte_count);
  auto pixel_buffer = std::make_unique<FlutterDesktopPixelBuffer>();
  pixel_buffer->width = static_cast<size_t>(width);
  pixel_buffer->height = static_cast<size_t>(height);
  pixel_buffer->buffer = pixels.release();
  return pixel_buffer;
}

// The texture objects of states that are gone. Never destroyed: the engine asks a texture for frames for as long as it
// has an identifier for it, and those of earlier "createTexture" commands are never unregistered.
std::vector<std::unique_ptr<flutter::TextureVariant>>& TexturesLeftToEngine() {
  static auto* const textures = new std::vector<std::unique_ptr<flutter::TextureVariant>>();
  return *textures;
}

}  // namespace

const FlutterDesktopPixelBuffer* CopyPixelBuffer(OrbiskState* state) {
  if (state == nullptr || state->disposed) return nullptr;
  const StateLock lock(*state);
  if (state->disposed || !state->renderer) return nullptr;
  if (!state->pixel_buffer) {
    state->pixel_buffer = MakePixelBuffer(state->renderer->width(), state->renderer->height());
  }
  return state->pixel_buffer.get();
}

void MakeTexture(OrbiskState& state) {
  TexturesLeftToEngine().reserve(TexturesLeftToEngine().size() + 1);  // the plug-in's end needs no memory for it
  state.texture_path = std::make_shared<ViewerPath>(&state);
  state.texture = std::make_unique<flutter::TextureVariant>(flutter::PixelBufferTexture(
      [path = state.texture_path](size_t, size_t) { return path->Follow(CopyPixelBuffer); }));
}

void LeaveTextureToEngine(OrbiskState& state) {
  if (!state.texture) return;
  state.texture_path->Close();
  TexturesLeftToEngine().push_back(std::move(state.texture));
}
