#include "model_tool/gltf_file.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>

#include "model_tool/files.h"
#include "model_tool/glb_writer.h"
#include "model_tool/meshopt_views.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

using Json = nlohmann::json;

// ---- The container -----------------------------------------------------------------------------------------

constexpr uint32_t kJsonChunk = 0x4E4F534A;  // "JSON"
constexpr uint32_t kBinChunk = 0x004E4942;   // "BIN\0"

struct Container {
  std::string_view json;
  std::optional<std::string_view> bin;
};

uint32_t ReadU32(std::string_view bytes, uint64_t offset) {
  uint32_t value;
  std::memcpy(&value, bytes.data() + offset, sizeof value);
  return value;
}

// GLB: "glTF" 4 | version 4 | length 4 | { size 4 | type 4 | data } per chunk
Container SplitGlb(std::string_view bytes) {
  if (bytes.size() < 20) throw ToolError("the file ends within its header");
  if (const uint32_t version = ReadU32(bytes, 4); version != 2) {
    throw ToolError("it is glTF version " + std::to_string(version) + "; export it as glTF 2.0");
  }
  Container container;
  for (uint64_t offset = 12; offset + 8 <= bytes.size();) {
    const uint64_t size = ReadU32(bytes, offset);
    const uint32_t type = ReadU32(bytes, offset + 4);
    offset += 8;
    if (size > bytes.size() - offset) {
      // What comes after a whole file does not matter.
      if (container.bin) break;
      throw ToolError("the file is cut off: a chunk of " + std::to_string(size) + " bytes has " +
                      std::to_string(bytes.size() - offset));
    }
    if (offset == 20) {
      if (type != kJsonChunk) throw ToolError("its first chunk is not JSON");
      container.json = bytes.substr(offset, size);
    } else if (type == kBinChunk && !container.bin) {
      container.bin = bytes.substr(offset, size);
    }
    offset += (size + 3) / 4 * 4;
  }
  return container;
}

Container Split(std::string_view bytes) {
  if (bytes.substr(0, 4) == "glTF") return SplitGlb(bytes);
  return {bytes, std::nullopt};
}

// ---- The description ---------------------------------------------------------------------------------------

Json Parse(std::string_view text) {
  // Deeper text would exhaust the stack of who walks it.
  constexpr int kDeepest = 64;
  const auto limit = [](int depth, Json::parse_event_t, Json&) {
    if (depth > kDeepest) throw ToolError("its JSON is nested more than " + std::to_string(kDeepest) + " levels deep");
    return true;
  };
  while (!text.empty() && (text.back() == '\0' || text.back() == ' ')) text.remove_suffix(1);
  try {
    return Json::parse(text, limit);
  } catch (const Json::exception&) {
  }
  // Names in an encoding of their own: no name matters.
  std::string ascii(text);
  std::replace_if(
      ascii.begin(), ascii.end(), [](char c) { return (c & 0x80) != 0; }, '?');
  try {
    return Json::parse(ascii, limit);
  } catch (const Json::parse_error& error) {
    throw ToolError("its JSON is broken at byte " + std::to_string(error.byte));
  }
}

// The objects of an array of the document.
template <typename Function>
void ForEach(Json& document, const char* array, const Function& function) {
  const auto found = document.find(array);
  if (found == document.end()) return;
  if (!found->is_array()) throw ToolError(std::string("\"") + array + "\" is no array");
  size_t index = 0;
  for (Json& element : *found) {
    if (!element.is_object()) {
      throw ToolError(std::string(array) + "[" + std::to_string(index) + "] is no object");
    }
    function(element, index++);
  }
}

bool HasExtension(const Json& object, const char* name) {
  const auto extensions = object.find("extensions");
  return extensions != object.end() && extensions->is_object() && extensions->contains(name);
}

std::string Text(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

int Integer(const Json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_number_integer() && *found >= 0 && *found <= 0x7FFFFFFF ? found->get<int>()
                                                                                                    : -1;
}

// Where a buffer's data is: in its own text, in a file beside, in the BIN chunk, or nowhere.
enum class Source { kText, kFile, kBin, kNone };

struct BufferSource {
  Source source;
  std::string uri;
  uint64_t length;
};

// Takes out of the document what is read here: the library would read views without looking whether they are there, wait
// for pipes, and want files to have just so many bytes.
std::vector<BufferSource> TakeApart(Json& document, GltfFile& file) {
  ForEach(document, "images", [&](const Json& image, size_t) {
    file.images.push_back({Integer(image, "bufferView"), Text(image, "uri")});
  });
  for (const char* key : {"images", "animations", "cameras", "extensions", "extras"}) document.erase(key);
  ForEach(document, "meshes", [&](Json& mesh, size_t) {
    ForEach(mesh, "primitives", [&](Json& primitive, size_t) {
      // Their number is in the compressed data; the accessor has no view, which the library does not accept.
      if (HasExtension(primitive, "KHR_draco_mesh_compression")) primitive.erase("indices");
    });
  });
  std::vector<BufferSource> sources;
  ForEach(document, "buffers", [&](Json& buffer, size_t index) {
    const Json& length = buffer["byteLength"];
    if (!length.is_number_unsigned()) throw ToolError("buffers[" + std::to_string(index) + "] has no byteLength");
    BufferSource source = {Source::kText, Text(buffer, "uri"), length.get<uint64_t>()};
    if (source.uri.empty()) {
      source.source = index == 0 ? Source::kBin : Source::kNone;
    } else if (source.uri.compare(0, 5, "data:") != 0) {
      source.source = Source::kFile;
    }
    // A place for decompressed data needs no data of its own.
    if (HasExtension(buffer, "EXT_meshopt_compression")) source.source = Source::kNone;
    if (source.source != Source::kText) {
      buffer["uri"] = "data:application/octet-stream;base64,AA==";
      buffer["byteLength"] = 1;
    }
    sources.push_back(std::move(source));
  });
  return sources;
}

// Puts in its place what the library was not given.
void Fill(const GltfFile& file, const BufferSource& source, const std::optional<std::string_view>& bin,
          std::vector<unsigned char>& data) {
  if (source.source == Source::kText) return;
  data.clear();
  if (source.source == Source::kNone) return;
  std::string content;
  if (source.source == Source::kFile) content = ReadFileBeside(file, source.uri);
  const std::string_view bytes = source.source == Source::kFile ? content : bin.value_or(std::string_view());
  if (source.length > bytes.size()) {
    throw ToolError((source.source == Source::kFile ? source.uri : "its BIN chunk") + " has " +
                    std::to_string(bytes.size()) + " bytes of " + std::to_string(source.length));
  }
  data.assign(bytes.begin(), bytes.end());
}

std::string WithoutEscapes(const std::string& uri) {
  std::string path;
  for (size_t i = 0; i < uri.size(); ++i) {
    const std::string digits = uri[i] == '%' ? uri.substr(i + 1, 2) : "";
    const bool escape = digits.size() == 2 && digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
    path += escape ? static_cast<char>(std::stoi(digits, nullptr, 16)) : uri[i];
    if (escape) i += 2;
  }
  return path;
}

// The library's messages run over several lines.
std::string OneLine(std::string text) {
  while (!text.empty() && text.back() == '\n') text.pop_back();
  std::replace(text.begin(), text.end(), '\n', ' ');
  constexpr size_t kLongest = 200;
  return text.size() > kLongest ? text.substr(0, kLongest) + "..." : text;
}

}  // namespace

GltfFile ReadGltfFile(const std::string& path) {
  const std::string bytes = ReadWholeFile(path);
  const Container container = Split(bytes);
  Json document = Parse(container.json);
  if (!document.is_object()) throw ToolError("its JSON is no object");

  GltfFile file;
  file.json = container.json;
  file.folder = std::filesystem::path(path).parent_path().string();
  const std::vector<BufferSource> sources = TakeApart(document, file);
  const std::string text = document.dump(-1, ' ', false, Json::error_handler_t::replace);
  document = nullptr;
  if (text.size() > 0x7FFFFFFF) throw ToolError("its JSON has more than 2 GiB");
  tinygltf::TinyGLTF library;
  std::string error;
  std::string ignored;
  if (!library.LoadASCIIFromString(&file.model, &error, &ignored, text.data(), static_cast<unsigned int>(text.size()),
                                   file.folder)) {
    throw ToolError(error.empty() ? "it is no glTF 2.0 file" : OneLine(error));
  }
  for (size_t i = 0; i < sources.size(); ++i) {
    Fill(file, sources[i], container.bin, file.model.buffers[i].data);
    file.named_buffers.push_back(!sources[i].uri.empty());
  }
  file.decoded_views = DecodeMeshoptViews(file.model);
  return file;
}

std::string ReadFileBeside(const GltfFile& file, const std::string& uri) {
  return ReadWholeFile((std::filesystem::path(file.folder) / WithoutEscapes(uri)).string());
}

bool IsPrepared(const GltfFile& file) { return file.model.asset.generator.rfind(kGenerator, 0) == 0; }

ByteRange ViewBytes(const GltfFile& file, int view) {
  const std::string name = "bufferViews[" + std::to_string(view) + "]";
  if (view < 0 || static_cast<size_t>(view) >= file.model.bufferViews.size()) throw ToolError(name + " does not exist");
  const auto decoded = file.decoded_views.find(view);
  if (decoded != file.decoded_views.end()) return {decoded->second.data(), decoded->second.size()};
  const tinygltf::BufferView& description = file.model.bufferViews[static_cast<size_t>(view)];
  if (description.buffer < 0 || static_cast<size_t>(description.buffer) >= file.model.buffers.size()) {
    throw ToolError(name + ": there is no buffers[" + std::to_string(description.buffer) + "]");
  }
  const std::vector<unsigned char>& data = file.model.buffers[static_cast<size_t>(description.buffer)].data;
  if (description.byteOffset > data.size() || description.byteLength > data.size() - description.byteOffset) {
    throw ToolError(name + " reaches outside its buffer of " + std::to_string(data.size()) + " bytes");
  }
  return {data.data() + description.byteOffset, description.byteLength};
}

}  // namespace model_tool
