#ifndef MODEL_TOOL_TEXTURE_H_
#define MODEL_TOOL_TEXTURE_H_

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "model_tool/color.h"
#include "model_tool/gltf_file.h"

namespace model_tool {

/// A colour with the part of the light behind it that it keeps away.
struct Sample {
  LinearColor color;
  double alpha = 1;
};

/// A picture that is laid over surfaces.
class Texture {
 public:
  enum class Wrap { kRepeat, kMirror, kClamp };

  /// `rgba`: 8 bits each, rows packed, the top one first; sRGB-encoded.
  Texture(int width, int height, std::vector<uint8_t> rgba) : width_(width), height_(height), rgba_(std::move(rgba)) {}

  void SetWrap(Wrap horizontal, Wrap vertical) { horizontal_ = horizontal, vertical_ = vertical; }

  int width() const { return width_; }
  int height() const { return height_; }

  /// The pixel at u, v; 0, 0 is the corner of the first one.
  Sample At(double u, double v) const;

 private:
  int width_;
  int height_;
  std::vector<uint8_t> rgba_;
  Wrap horizontal_ = Wrap::kRepeat;
  Wrap vertical_ = Wrap::kRepeat;
};

/// Decodes a picture of any kind that tinygltf knows (PNG, JPEG, BMP, GIF, TGA, ...), or of WebP.
///
/// `name` is for messages. Failure: ToolError.
Texture DecodeTexture(const std::string& name, ByteRange bytes);

/// Decodes a texture of a glTF file.
///
/// Failure  ToolError: there is none of this number, its picture is missing or cannot be decoded.
Texture ReadGltfTexture(const GltfFile& file, int texture);

}  // namespace model_tool

#endif  // MODEL_TOOL_TEXTURE_H_
