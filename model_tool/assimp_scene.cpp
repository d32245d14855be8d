#include "model_tool/assimp_scene.h"

#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <filesystem>
#include <map>
#include <memory>

#include "model/glb_loader.h"
#include "model_tool/files.h"
#include "model_tool/surface.h"
#include "model_tool/tool_error.h"
#include "model_tool/triangle_sink.h"

namespace model_tool {

namespace {

Vec3 ToVec3(const aiVector3D& v) { return {v.x, v.y, v.z}; }

Transform ToTransform(const aiMatrix4x4& m) {
  return {{m.a1, m.b1, m.c1}, {m.a2, m.b2, m.c2}, {m.a3, m.b3, m.c3}, {m.a4, m.b4, m.c4}};
}

LinearColor ToLight(double r, double g, double b) { return {DecodeSrgb(r), DecodeSrgb(g), DecodeSrgb(b)}; }

// ---- Materials ---------------------------------------------------------------------------------------------

class Materials {
 public:
  Materials(const aiScene& scene, std::filesystem::path folder) : scene_(scene), folder_(std::move(folder)) {}

  Material Read(unsigned int index) {
    Material material;
    material.factor = ToLight(kDefaultMeshColor[0], kDefaultMeshColor[1], kDefaultMeshColor[2]);
    if (index >= scene_.mNumMaterials) return material;
    const aiMaterial& description = *scene_.mMaterials[index];
    const bool textured = AddTexture(description, aiTextureType_BASE_COLOR, material) ||
                          AddTexture(description, aiTextureType_DIFFUSE, material);
    aiString name;
    description.Get(AI_MATKEY_NAME, name);
    // What assimp gives to a surface that the file gives no material.
    if (!textured && std::string(name.C_Str()) == AI_DEFAULT_MATERIAL_NAME) return material;
    aiColor4D color(1, 1, 1, 1);
    if (description.Get(AI_MATKEY_BASE_COLOR, color) != aiReturn_SUCCESS) {
      description.Get(AI_MATKEY_COLOR_DIFFUSE, color);
    }
    material.factor = ToLight(color.r, color.g, color.b);
    float opacity = 1;
    description.Get(AI_MATKEY_OPACITY, opacity);
    material.alpha = opacity;
    material.mode = Material::Alpha::kBlend;
    return material;
  }

 private:
  bool AddTexture(const aiMaterial& description, aiTextureType type, Material& material) {
    aiString path;
    unsigned int set = 0;
    if (description.GetTexture(type, 0, &path, nullptr, &set) != aiReturn_SUCCESS) return false;
    std::shared_ptr<const Texture>& texture = textures_[path.C_Str()];
    if (!texture) texture = std::make_shared<const Texture>(Decode(path.C_Str()));
    material.texture = texture;
    material.coordinate_set = static_cast<int>(set);
    return true;
  }

  Texture Decode(const std::string& path) const {
    const aiTexture* const embedded = scene_.GetEmbeddedTexture(path.c_str());
    if (embedded == nullptr) return DecodeFile(path);
    if (embedded->mHeight == 0) {  // a picture's file; its size is the width
      return DecodeTexture(path, {reinterpret_cast<const uint8_t*>(embedded->pcData), embedded->mWidth});
    }
    std::vector<uint8_t> rgba;
    for (size_t i = 0; i < size_t{embedded->mWidth} * embedded->mHeight; ++i) {
      const aiTexel& texel = embedded->pcData[i];
      rgba.insert(rgba.end(), {texel.r, texel.g, texel.b, texel.a});
    }
    return {static_cast<int>(embedded->mWidth), static_cast<int>(embedded->mHeight), std::move(rgba)};
  }

  // Where the file says, or beside it: paths in such files are often those of the machine that wrote them.
  Texture DecodeFile(std::string path) const {
    std::replace(path.begin(), path.end(), '\\', '/');
    const std::filesystem::path wanted = folder_ / path;
    std::error_code ignored;
    const bool there = std::filesystem::exists(wanted, ignored);
    const std::string bytes = ReadWholeFile(there ? wanted : folder_ / wanted.filename());
    return DecodeTexture(path, {reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
  }

  const aiScene& scene_;
  const std::filesystem::path folder_;
  std::map<std::string, std::shared_ptr<const Texture>> textures_;
};

// ---- Meshes ------------------------------------------------------------------------------------------------

CornerColors ColorsOf(const aiMesh& mesh, const Material& material, const std::array<unsigned int, 3>& corners) {
  CornerColors colors;
  const auto set = static_cast<unsigned int>(material.coordinate_set);
  if (material.texture && set < AI_MAX_NUMBER_OF_TEXTURECOORDS && mesh.HasTextureCoords(set)) {
    colors.coordinates.emplace();
    for (size_t i = 0; i < 3; ++i) {
      const aiVector3D& uv = mesh.mTextureCoords[set][corners[i]];
      (*colors.coordinates)[i] = {uv.x, uv.y};
    }
  }
  if (mesh.HasVertexColors(0)) {
    colors.colors.emplace();
    for (size_t i = 0; i < 3; ++i) {
      const aiColor4D& color = mesh.mColors[0][corners[i]];
      (*colors.colors)[i] = {ToLight(color.r, color.g, color.b), color.a};
    }
  }
  return colors;
}

void AddMesh(const aiMesh& mesh, Material material, const Transform& transform, Scene& scene) {
  // Where each corner has a colour, the grey of a surface without a material means nothing.
  if (mesh.HasVertexColors(0) && !material.texture) material.factor = {1, 1, 1};
  bool others = false;
  TriangleSink sink(mesh.mName.C_Str(), scene);
  for (unsigned int i = 0; i < mesh.mNumFaces; ++i) {
    const aiFace& face = mesh.mFaces[i];
    if (face.mNumIndices != 3) {
      others = true;
      continue;
    }
    std::array<unsigned int, 3> corners = {face.mIndices[0], face.mIndices[1], face.mIndices[2]};
    if (transform.Mirrors()) std::swap(corners[1], corners[2]);
    TriangleSink::Corners triangle;
    for (size_t k = 0; k < 3; ++k) {
      if (corners[k] >= mesh.mNumVertices) throw ToolError("an index names a vertex that does not exist");
      triangle.positions[k] = transform.Point(ToVec3(mesh.mVertices[corners[k]]));
      if (mesh.HasNormals()) triangle.normals[k] = transform.Normal(ToVec3(mesh.mNormals[corners[k]]));
    }
    sink.Add(triangle, [&] { return MeanColor(material, ColorsOf(mesh, material, corners)); });
  }
  if (others) ++scene.left_out.line_and_point_primitives;
}

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

}  // namespace

Scene ReadAssimpScene(const std::string& path) {
  Assimp::Importer importer;
  const aiScene* const file = importer.ReadFile(path, aiProcess_Triangulate | aiProcess_FlipUVs);
  if (file == nullptr || file->mRootNode == nullptr) {
    throw ToolError("it is of no kind that can be read: " + FirstLine(importer.GetErrorString()));
  }
  Materials materials(*file, std::filesystem::path(path).parent_path());
  Scene scene;
  std::vector<std::pair<const aiNode*, Transform>> pending = {{file->mRootNode, Transform()}};
  while (!pending.empty()) {
    const auto [node, parent] = pending.back();
    pending.pop_back();
    const Transform transform = parent * ToTransform(node->mTransformation);
    for (unsigned int i = 0; i < node->mNumMeshes; ++i) {
      const aiMesh& mesh = *file->mMeshes[node->mMeshes[i]];
      AddMesh(mesh, materials.Read(mesh.mMaterialIndex), transform, scene);
    }
    for (unsigned int i = node->mNumChildren; i > 0; --i) pending.emplace_back(node->mChildren[i - 1], transform);
  }
  return scene;
}

}  // namespace model_tool
