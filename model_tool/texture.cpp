#include "model_tool/texture.h"

#include <webp/decode.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "model_tool/tinygltf.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

// Of `size` pixels, the one at a coordinate that counts in pictures.
size_t PixelAt(double coordinate, int size, Texture::Wrap wrap) {
  if (!std::isfinite(coordinate)) return 0;
  double place = coordinate - std::floor(coordinate);
  if (wrap == Texture::Wrap::kClamp) place = std::clamp(coordinate, 0.0, 1.0);
  if (wrap == Texture::Wrap::kMirror && std::fmod(std::floor(coordinate), 2.0) != 0) place = 1 - place;
  return static_cast<size_t>(std::min(place * size, size - 1.0));
}

const std::array<double, 256>& LightOfByte() {
  static const std::array<double, 256> light = [] {
    std::array<double, 256> values;
    for (size_t i = 0; i < values.size(); ++i) values[i] = DecodeSrgb(static_cast<double>(i) / 255);
    return values;
  }();
  return light;
}

Texture::Wrap WrapOf(int mode) {
  if (mode == TINYGLTF_TEXTURE_WRAP_CLAMP_TO_EDGE) return Texture::Wrap::kClamp;
  return mode == TINYGLTF_TEXTURE_WRAP_MIRRORED_REPEAT ? Texture::Wrap::kMirror : Texture::Wrap::kRepeat;
}

bool IsWebp(ByteRange bytes) {
  return bytes.size >= 12 && std::memcmp(bytes.data, "RIFF", 4) == 0 && std::memcmp(bytes.data + 8, "WEBP", 4) == 0;
}

Texture DecodeWebp(const std::string& name, ByteRange bytes) {
  int width = 0;
  int height = 0;
  const std::unique_ptr<uint8_t, decltype(&WebPFree)> pixels(WebPDecodeRGBA(bytes.data, bytes.size, &width, &height),
                                                             &WebPFree);
  if (!pixels) throw ToolError(name + " cannot be decoded");
  const size_t size = 4 * static_cast<size_t>(width) * static_cast<size_t>(height);
  return {width, height, {pixels.get(), pixels.get() + size}};
}

Texture DecodeImage(const GltfFile& file, const std::string& name, const GltfFile::Image& image) {
  if (image.view >= 0) return DecodeTexture(name, ViewBytes(file, image.view));
  if (image.uri.empty()) throw ToolError(name + " has no data");
  if (image.uri.compare(0, 5, "data:") == 0) {
    // The library accepts a few types by name only; what it really is, shows when it is decoded.
    const size_t comma = image.uri.find(";base64,");
    if (comma == std::string::npos) throw ToolError(name + " has data in an unknown encoding");
    std::vector<unsigned char> bytes;
    std::string ignored;
    const std::string uri = "data:application/octet-stream" + image.uri.substr(comma);
    if (!tinygltf::DecodeDataURI(&bytes, ignored, uri, 0, false)) throw ToolError(name + " cannot be decoded");
    return DecodeTexture(name, {bytes.data(), bytes.size()});
  }
  const std::string bytes = ReadFileBeside(file, image.uri);
  return DecodeTexture(name, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

}  // namespace

Sample Texture::At(double u, double v) const {
  const size_t x = PixelAt(u, width_, horizontal_);
  const size_t y = PixelAt(v, height_, vertical_);
  const uint8_t* const pixel = &rgba_[4 * (y * static_cast<size_t>(width_) + x)];
  const std::array<double, 256>& light = LightOfByte();
  return {{light[pixel[0]], light[pixel[1]], light[pixel[2]]}, pixel[3] / 255.0};
}

Texture DecodeTexture(const std::string& name, ByteRange bytes) {
  if (IsWebp(bytes)) return DecodeWebp(name, bytes);
  tinygltf::Image decoded;
  std::string error;
  std::string ignored;
  if (bytes.size == 0 || bytes.size > 0x7FFFFFFF ||
      !tinygltf::LoadImageData(&decoded, 0, &error, &ignored, 0, 0, bytes.data, static_cast<int>(bytes.size),
                               nullptr)) {
    throw ToolError(name + " cannot be decoded; save it as PNG or JPEG");
  }
  const size_t count = static_cast<size_t>(decoded.width) * static_cast<size_t>(decoded.height);
  std::vector<uint8_t> rgba = std::move(decoded.image);
  if (decoded.bits == 16) {
    for (size_t i = 0; i < 4 * count; ++i) rgba[i] = rgba[2 * i + 1];  // the upper half of each little-endian number
    rgba.resize(4 * count);
  }
  if (count == 0 || rgba.size() != 4 * count) throw ToolError(name + " has pixels of an unknown kind");
  return {decoded.width, decoded.height, std::move(rgba)};
}

Texture ReadGltfTexture(const GltfFile& file, int texture) {
  if (texture < 0 || static_cast<size_t>(texture) >= file.model.textures.size()) {
    throw ToolError("a material names a texture that does not exist: " + std::to_string(texture));
  }
  const tinygltf::Texture& description = file.model.textures[static_cast<size_t>(texture)];
  int image = description.source;
  const auto webp = description.extensions.find("EXT_texture_webp");
  if (image < 0 && webp != description.extensions.end() && webp->second.Get("source").IsInt()) {
    image = webp->second.Get("source").Get<int>();
  }
  const std::string name = "images[" + std::to_string(image) + "]";
  if (image < 0 || static_cast<size_t>(image) >= file.images.size()) {
    throw ToolError("textures[" + std::to_string(texture) + "] has no picture that can be read");
  }
  Texture result = DecodeImage(file, name, file.images[static_cast<size_t>(image)]);
  if (description.sampler >= 0 && static_cast<size_t>(description.sampler) < file.model.samplers.size()) {
    const tinygltf::Sampler& sampler = file.model.samplers[static_cast<size_t>(description.sampler)];
    result.SetWrap(WrapOf(sampler.wrapS), WrapOf(sampler.wrapT));
  }
  return result;
}

}  // namespace model_tool
