#ifndef MODEL_TOOL_GLTF_FILE_H_
#define MODEL_TOOL_GLTF_FILE_H_

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "model_tool/tinygltf.h"

namespace model_tool {

/// Bytes that somebody else keeps.
struct ByteRange {
  const uint8_t* data = nullptr;
  uint64_t size = 0;
};

/// A glTF file in memory: its description, its buffers, its compressed views decoded, its pictures still encoded.
struct GltfFile {
  std::string json;       // its text, as it stands in the file
  tinygltf::Model model;  // without its images and animations

  struct Image {
    int view = -1;    // in one of the file's views
    std::string uri;  // or beside the file, or in this text
  };
  std::vector<Image> images;
  std::vector<bool> named_buffers;                    // those beside the file or in its text
  std::map<int, std::vector<uint8_t>> decoded_views;  // by number
  std::string folder;                                 // where other files that it names are looked for
};

/// Reads a .glb or .gltf file with the buffers that it names.
///
/// Failure  ToolError.
GltfFile ReadGltfFile(const std::string& path);

/// Whether the file was written by this program: its colours are what the screen is given, others' are light.
bool IsPrepared(const GltfFile& file);

/// The bytes of another file that this one names.
///
/// Failure  ToolError.
std::string ReadFileBeside(const GltfFile& file, const std::string& uri);

/// The bytes of a view, wherever they came from.
///
/// Lifetime  as long as the file.
/// Failure  ToolError: there is no such view, or it reaches outside its buffer.
ByteRange ViewBytes(const GltfFile& file, int view);

}  // namespace model_tool

#endif  // MODEL_TOOL_GLTF_FILE_H_
