#ifndef TEST_SUPPORT_GLB_BUILDER_H_
#define TEST_SUPPORT_GLB_BUILDER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// Builds .glb files for tests: good ones in a line, broken ones in one word more.
//
//   folder.Write("model.glb", Glb().Add(Triangle().Color("1, 0, 0")));
//   Glb().Add(Mesh(Floats({0,0,0, 1,0,0, 0,1,0})).Indices(Ushorts({0, 1, 2})).Field("name", "\"lid\""));
//   Glb().Add(Mesh(Floats({...}).Stride(24).Field("count", "4"))).Build();   // claims a vertex too many
//   Glb().Add(Triangle()).JsonLength(0xFFFFFFFF).Build();                    // claims a chunk too long
//   Glb().Json(R"({"meshes":[]})").Bin({}).Build();
//
// Values of JSON fields are given as the JSON text has them, so that a test can also write what is no value.
// Bytes that belong to nothing, such as the gap between two elements, are 0xEE: who reads them sees nonsense,
// not zero.
namespace glb_builder {

using Bytes = std::vector<uint8_t>;

inline constexpr uint8_t kFiller = 0xEE;

/// The bytes of the values one after the other.
template <typename Value>
Bytes BytesOf(const std::vector<Value>& values) {
  Bytes bytes(values.size() * sizeof(Value));
  if (!bytes.empty()) std::memcpy(bytes.data(), values.data(), bytes.size());
  return bytes;
}

inline void Append(Bytes& bytes, const Bytes& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }

/// A JSON object as text.
class JsonObject {
 public:
  /// Adds a field after the others.
  JsonObject& Add(const std::string& key, const std::string& value) {
    fields_.push_back({key, value});
    return *this;
  }
  JsonObject& Add(const std::string& key, size_t value) { return Add(key, std::to_string(value)); }

  std::string Text() const {
    std::string text;
    for (const Field& field : fields_) text += (text.empty() ? "\"" : ",\"") + field.key + "\":" + field.value;
    return "{" + text + "}";
  }

 private:
  friend class JsonChanges;

  struct Field {
    std::string key;
    std::string value;
  };
  std::vector<Field> fields_;
};

/// What a test wants otherwise in a JSON object that the builder fills. Values replace the builder's own in
/// place; fields that the builder would not write come before its own ones.
class JsonChanges {
 public:
  void Set(const std::string& key, const std::string& value) { changes_.push_back({key, value}); }
  void Remove(const std::string& key) { changes_.push_back({key, std::nullopt}); }

  JsonObject AppliedTo(JsonObject object) const {
    std::vector<JsonObject::Field>& fields = object.fields_;
    std::ptrdiff_t added = 0;
    for (const Change& change : changes_) {
      const auto field = std::find_if(fields.begin(), fields.end(),
                                      [&](const JsonObject::Field& candidate) { return candidate.key == change.key; });
      if (!change.value) {
        if (field != fields.end()) fields.erase(field);
      } else if (field != fields.end()) {
        field->value = *change.value;
      } else {
        fields.insert(fields.begin() + added++, {change.key, *change.value});
      }
    }
    return object;
  }

 private:
  struct Change {
    std::string key;
    std::optional<std::string> value;  // none: the field goes
  };
  std::vector<Change> changes_;
};

/// One accessor, the buffer view of its own that it reads, and its data. Made by Floats(), Ubytes(),
/// Ushorts() and Uints().
class Accessor {
 public:
  Accessor(size_t component_type, const char* type, size_t element_size, Bytes data)
      : component_type_(component_type), type_(type), element_size_(element_size), data_(std::move(data)) {}

  /// The distance from one element to the next; the view says so. Without it they are packed and the view is
  /// silent.
  Accessor& Stride(size_t stride) { return stride_ = stride, *this; }

  /// Where in its view the accessor's first element lies.
  Accessor& Offset(size_t offset) { return offset_ = offset, *this; }

  // Last word on the accessor's and on the view's JSON.
  Accessor& Field(const std::string& key, const std::string& value) { return fields_.Set(key, value), *this; }
  Accessor& Without(const std::string& key) { return fields_.Remove(key), *this; }
  Accessor& ViewField(const std::string& key, const std::string& value) { return view_fields_.Set(key, value), *this; }
  Accessor& ViewWithout(const std::string& key) { return view_fields_.Remove(key), *this; }

  size_t count() const { return data_.size() / element_size_; }

  /// What the view covers: filler up to the offset, then the elements; no gap after the last one.
  Bytes Data() const {
    Bytes laid(offset_, kFiller);
    for (size_t i = 0; i < count(); ++i) {
      laid.resize(offset_ + i * stride_.value_or(element_size_), kFiller);
      const auto element = data_.begin() + static_cast<std::ptrdiff_t>(i * element_size_);
      laid.insert(laid.end(), element, element + static_cast<std::ptrdiff_t>(element_size_));
    }
    return laid;
  }

  std::string Json(size_t view) const {
    JsonObject accessor;
    accessor.Add("bufferView", view);
    if (offset_ != 0) accessor.Add("byteOffset", offset_);
    accessor.Add("componentType", component_type_).Add("count", count());
    accessor.Add("type", std::string("\"") + type_ + "\"");
    return fields_.AppliedTo(accessor).Text();
  }

  std::string ViewJson(size_t offset_in_bin) const {
    JsonObject view;
    view.Add("buffer", size_t{0}).Add("byteOffset", offset_in_bin).Add("byteLength", Data().size());
    if (stride_) view.Add("byteStride", *stride_);
    return view_fields_.AppliedTo(view).Text();
  }

 private:
  size_t component_type_;
  const char* type_;
  size_t element_size_;
  Bytes data_;
  std::optional<size_t> stride_;
  size_t offset_ = 0;
  JsonChanges fields_;
  JsonChanges view_fields_;
};

/// Positions or normals: three floats per element.
inline Accessor Floats(const std::vector<float>& values) { return {5126, "VEC3", 12, BytesOf(values)}; }

/// Indices of 8, 16 and 32 bits.
inline Accessor Ubytes(const std::vector<uint8_t>& values) { return {5121, "SCALAR", 1, BytesOf(values)}; }
inline Accessor Ushorts(const std::vector<uint16_t>& values) { return {5123, "SCALAR", 2, BytesOf(values)}; }
inline Accessor Uints(const std::vector<uint32_t>& values) { return {5125, "SCALAR", 4, BytesOf(values)}; }

/// A mesh of one primitive.
class Mesh {
 public:
  explicit Mesh(Accessor positions) : positions_(std::move(positions)) {}

  Mesh& Normals(Accessor normals) { return normals_ = std::move(normals), *this; }
  Mesh& Indices(Accessor indices) { return indices_ = std::move(indices), *this; }

  /// A material of its own, `{"pbrMetallicRoughness":{"baseColorFactor":[numbers]}}`.
  Mesh& Color(const std::string& numbers) {
    return Material(R"({"pbrMetallicRoughness":{"baseColorFactor":[)" + numbers + "]}}");
  }

  /// A material of its own, given as a whole.
  Mesh& Material(const std::string& material) { return material_ = material, *this; }

  // Last word on the JSON of the mesh, of its primitive, of the primitive's attributes.
  Mesh& Field(const std::string& key, const std::string& value) { return fields_.Set(key, value), *this; }
  Mesh& Without(const std::string& key) { return fields_.Remove(key), *this; }
  Mesh& PrimitiveField(const std::string& key, const std::string& value) {
    return primitive_fields_.Set(key, value), *this;
  }
  Mesh& PrimitiveWithout(const std::string& key) { return primitive_fields_.Remove(key), *this; }
  Mesh& Attribute(const std::string& key, const std::string& value) { return attributes_.Set(key, value), *this; }
  Mesh& WithoutAttribute(const std::string& key) { return attributes_.Remove(key), *this; }

  /// A further primitive, given as a whole, after the one that the builder makes.
  Mesh& SecondPrimitive(const std::string& primitive) { return second_primitive_ = "," + primitive, *this; }

 private:
  friend class Glb;

  Accessor positions_;
  std::optional<Accessor> normals_;
  std::optional<Accessor> indices_;
  std::optional<std::string> material_;
  std::string second_primitive_;
  JsonChanges fields_;
  JsonChanges primitive_fields_;
  JsonChanges attributes_;
};

/// The positions of a right triangle in the plane z = 0, counter-clockwise seen from +z.
inline const std::vector<float> kTrianglePositions = {0, 0, 0, 1, 0, 0, 0, 1, 0};

/// That triangle, its indices given.
inline Mesh Triangle() { return Mesh(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 2})); }

/// A .glb file.
class Glb {
 public:
  Glb& Add(const Mesh& mesh) { return meshes_.push_back(mesh), *this; }

  // In place of what the meshes give.
  Glb& Json(const std::string& json) { return json_ = json, *this; }
  Glb& Bin(const Bytes& bin) { return bin_ = bin, *this; }

  /// Ends both chunks with their last byte of use, instead of filling them up to a multiple of 4.
  Glb& Unpadded() { return padded_ = false, *this; }

  // In place of what is right; the bytes in the chunks stay as they are.
  Glb& Magic(uint32_t value) { return magic_ = value, *this; }
  Glb& Version(uint32_t value) { return version_ = value, *this; }
  Glb& TotalLength(uint32_t value) { return total_length_ = value, *this; }
  Glb& JsonLength(uint32_t value) { return json_length_ = value, *this; }
  Glb& JsonType(uint32_t value) { return json_type_ = value, *this; }
  Glb& BinLength(uint32_t value) { return bin_length_ = value, *this; }
  Glb& BinType(uint32_t value) { return bin_type_ = value, *this; }

  Glb& WithoutBin() { return has_bin_ = false, *this; }
  Glb& TruncatedTo(size_t size) { return truncated_to_ = size, *this; }
  Glb& Trailing(const Bytes& bytes) { return trailing_ = bytes, *this; }

  /// The JSON chunk's text, without padding.
  std::string JsonText() const { return json_.value_or(Assemble().json); }

  /// The BIN chunk's data, without padding.
  Bytes BinData() const { return bin_.value_or(Assemble().bin); }

  /// The file.
  Bytes Build() const {
    const std::string text = JsonText();
    Bytes json(text.begin(), text.end());
    Bytes bin = BinData();
    if (padded_) {
      json.resize(PaddedSize(json), ' ');
      bin.resize(PaddedSize(bin), 0);
    }
    const size_t length = 20 + json.size() + (has_bin_ ? 8 + bin.size() : 0);

    Bytes file = BytesOf<uint32_t>({magic_, version_, total_length_.value_or(static_cast<uint32_t>(length)),
                                    json_length_.value_or(static_cast<uint32_t>(json.size())), json_type_});
    Append(file, json);
    if (has_bin_) {
      Append(file, BytesOf<uint32_t>({bin_length_.value_or(static_cast<uint32_t>(bin.size())), bin_type_}));
      Append(file, bin);
    }
    Append(file, trailing_);
    if (truncated_to_ && *truncated_to_ < file.size()) file.resize(*truncated_to_);
    return file;
  }

  // As the bytes of a file, wherever those are wanted.
  operator Bytes() const { return Build(); }

 private:
  struct Content {
    std::string json;
    Bytes bin;
  };

  static size_t PaddedSize(const Bytes& bytes) { return (bytes.size() + 3) / 4 * 4; }

  static std::string Array(const std::vector<std::string>& elements) {
    std::string text;
    for (const std::string& element : elements) text += (text.empty() ? "" : ",") + element;
    return "[" + text + "]";
  }

  // Every accessor gets a view of its own, in the order of the data: per mesh positions, normals, indices.
  Content Assemble() const {
    Content content;
    std::vector<std::string> accessors, views, materials, meshes;
    const auto add = [&](const Accessor& accessor) {
      content.bin.resize(PaddedSize(content.bin), kFiller);
      views.push_back(accessor.ViewJson(content.bin.size()));
      Append(content.bin, accessor.Data());
      accessors.push_back(accessor.Json(accessors.size()));
      return accessors.size() - 1;
    };
    for (const Mesh& mesh : meshes_) {
      JsonObject attributes, primitive, fields;
      attributes.Add("POSITION", add(mesh.positions_));
      if (mesh.normals_) attributes.Add("NORMAL", add(*mesh.normals_));
      primitive.Add("attributes", mesh.attributes_.AppliedTo(attributes).Text());
      if (mesh.indices_) primitive.Add("indices", add(*mesh.indices_));
      if (mesh.material_) {
        primitive.Add("material", materials.size());
        materials.push_back(*mesh.material_);
      }
      const std::string first_primitive = mesh.primitive_fields_.AppliedTo(primitive).Text();
      fields.Add("primitives", "[" + first_primitive + mesh.second_primitive_ + "]");
      meshes.push_back(mesh.fields_.AppliedTo(fields).Text());
    }
    JsonObject root;
    root.Add("asset", R"({"version":"2.0"})");
    root.Add("meshes", Array(meshes));
    if (!materials.empty()) root.Add("materials", Array(materials));
    root.Add("accessors", Array(accessors)).Add("bufferViews", Array(views));
    root.Add("buffers", "[" + JsonObject().Add("byteLength", content.bin.size()).Text() + "]");
    content.json = root.Text();
    return content;
  }

  std::vector<Mesh> meshes_;
  std::optional<std::string> json_;
  std::optional<Bytes> bin_;
  bool padded_ = true;
  uint32_t magic_ = 0x46546C67;
  uint32_t version_ = 2;
  std::optional<uint32_t> total_length_;
  std::optional<uint32_t> json_length_;
  uint32_t json_type_ = 0x4E4F534A;
  std::optional<uint32_t> bin_length_;
  uint32_t bin_type_ = 0x004E4942;
  bool has_bin_ = true;
  std::optional<size_t> truncated_to_;
  Bytes trailing_;
};

}  // namespace glb_builder

#endif  // TEST_SUPPORT_GLB_BUILDER_H_
