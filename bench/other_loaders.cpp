#include "bench/other_loaders.h"

#include <assimp/Importer.hpp>
#include <assimp/scene.h>
#include <fcntl.h>
#include <tiny_gltf.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

namespace {

bool SkipImage(tinygltf::Image*, int, std::string*, std::string*, int, int, const unsigned char*, int, void*) {
  return true;
}

tinygltf::Model Parse(const std::string& path) {
  tinygltf::TinyGLTF loader;
  loader.SetImageLoader(SkipImage, nullptr);
  tinygltf::Model model;
  std::string error, warning;
  if (!loader.LoadBinaryFromFile(&model, &error, &warning, path)) throw std::runtime_error(error);
  return model;
}

ArrayLocation LocateArray(const tinygltf::Model& model, int accessor_index) {
  const tinygltf::Accessor& accessor = model.accessors.at(static_cast<size_t>(accessor_index));
  const tinygltf::BufferView& view = model.bufferViews.at(static_cast<size_t>(accessor.bufferView));
  return {view.byteOffset + accessor.byteOffset, accessor.count, view.byteStride};
}

// In the BIN chunk's data.
MeshLocation LocateMesh(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
  MeshLocation mesh;
  mesh.positions = LocateArray(model, primitive.attributes.at("POSITION"));
  const auto normals = primitive.attributes.find("NORMAL");
  if (normals != primitive.attributes.end()) mesh.normals = LocateArray(model, normals->second);
  mesh.indices = LocateArray(model, primitive.indices);
  mesh.short_indices =
      model.accessors[static_cast<size_t>(primitive.indices)].componentType == TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT;
  return mesh;
}

std::vector<float> Vec3s(const uint8_t* bytes, const ArrayLocation& array) {
  const auto* const first = reinterpret_cast<const float*>(bytes + array.offset);
  if (array.stride == 0 || array.stride == 3 * sizeof(float)) return {first, first + 3 * array.count};
  std::vector<float> values(3 * array.count);
  for (size_t i = 0; i < array.count; ++i) {
    std::memcpy(&values[3 * i], bytes + array.offset + i * array.stride, 3 * sizeof(float));
  }
  return values;
}

template <typename Stored>
std::vector<uint32_t> Indices(const uint8_t* bytes, const ArrayLocation& array) {
  const auto* const first = reinterpret_cast<const Stored*>(bytes + array.offset);
  return {first, first + array.count};
}

MeshData CopyMesh(const uint8_t* bytes, const MeshLocation& location) {
  MeshData mesh;
  mesh.positions = Vec3s(bytes, location.positions);
  mesh.normals = Vec3s(bytes, location.normals);
  mesh.indices =
      location.short_indices ? Indices<uint16_t>(bytes, location.indices) : Indices<uint32_t>(bytes, location.indices);
  return mesh;
}

std::vector<float> Vec3s(const aiVector3D* vectors, size_t count) {
  if (vectors == nullptr) return {};
  static_assert(sizeof(aiVector3D) == 3 * sizeof(float), "assimp with vectors of floats");
  return {&vectors->x, &vectors->x + 3 * count};
}

}  // namespace

// GLB: 12 bytes | J 4 | "JSON" 4 | text J | B 4 | "BIN\0" 4 | data B
uint32_t JsonLength(const std::string& path) {
  uint32_t length = 0;
  std::ifstream file(path, std::ios::binary);
  file.seekg(12).read(reinterpret_cast<char*>(&length), sizeof length);
  return length;
}

GLBModel LoadWithTinygltf(const std::string& path) {
  const tinygltf::Model parsed = Parse(path);
  GLBModel model;
  model.meshes.reserve(parsed.meshes.size());
  for (const tinygltf::Mesh& mesh : parsed.meshes) {
    model.meshes.push_back(CopyMesh(parsed.buffers.at(0).data.data(), LocateMesh(parsed, mesh.primitives.at(0))));
  }
  return model;
}

GLBModel LoadWithAssimp(const std::string& path) {
  Assimp::Importer importer;
  const aiScene* const scene = importer.ReadFile(path, 0);
  if (scene == nullptr) throw std::runtime_error(importer.GetErrorString());
  GLBModel model;
  model.meshes.reserve(scene->mNumMeshes);
  for (size_t i = 0; i < scene->mNumMeshes; ++i) {  // a mesh per primitive; our files have one in each
    const aiMesh& parsed = *scene->mMeshes[i];
    MeshData mesh;
    mesh.positions = Vec3s(parsed.mVertices, parsed.mNumVertices);
    mesh.normals = Vec3s(parsed.mNormals, parsed.mNumVertices);
    mesh.indices.reserve(3 * size_t{parsed.mNumFaces});
    for (size_t face = 0; face < parsed.mNumFaces; ++face) {
      const unsigned int* const corners = parsed.mFaces[face].mIndices;
      mesh.indices.insert(mesh.indices.end(), corners, corners + parsed.mFaces[face].mNumIndices);
    }
    model.meshes.push_back(std::move(mesh));
  }
  return model;
}

FileLocations Locate(const std::string& path) {
  const tinygltf::Model parsed = Parse(path);
  FileLocations file{path, std::filesystem::file_size(path), {}};
  const uint64_t bin = 28 + uint64_t{JsonLength(path)};
  for (const tinygltf::Mesh& mesh : parsed.meshes) {
    MeshLocation location = LocateMesh(parsed, mesh.primitives.at(0));
    for (ArrayLocation* array : {&location.positions, &location.normals, &location.indices}) array->offset += bin;
    file.meshes.push_back(location);
  }
  return file;
}

GLBModel LoadLocated(const FileLocations& file) {
  const std::unique_ptr<uint8_t[]> bytes(new uint8_t[file.size]);  // not filled with zeros
  const int descriptor = open(file.path.c_str(), O_RDONLY | O_CLOEXEC);
  const ssize_t got = read(descriptor, bytes.get(), file.size);
  close(descriptor);
  if (got < 0 || static_cast<uint64_t>(got) != file.size) throw std::runtime_error("cannot read " + file.path);
  GLBModel model;
  model.meshes.reserve(file.meshes.size());
  for (const MeshLocation& location : file.meshes) model.meshes.push_back(CopyMesh(bytes.get(), location));
  return model;
}
