// Writes the seeds of the fuzz targets: small inputs that get everywhere in a few steps, made by the tests' builders
// and by the codec.
//
// usage: orbisk_fuzz_seeds FOLDER      (into FOLDER/TARGET/, whatever is in there)

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "flutter/standard_message_codec.h"
#include "flutter/standard_method_codec.h"
#include "fuzz/message_kind.h"
#include "fuzz/model_files.h"
#include "fuzz/step.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

namespace {

using flutter::EncodableList;
using flutter::EncodableMap;
using flutter::EncodableValue;
using namespace glb_builder;

const std::vector<float> kUpNormals = {0, 0, 1, 0, 0, 1, 0, 0, 1};

struct Seed {
  std::string name;
  Bytes bytes;
};

Bytes Prefixed(uint8_t first, const Bytes& rest) {
  Bytes bytes(1 + rest.size(), first);
  std::copy(rest.begin(), rest.end(), bytes.begin() + 1);
  return bytes;
}

// ---- glb_loader --------------------------------------------------------------------------------------------

std::vector<Seed> GlbSeeds() {
  const std::vector<std::pair<std::string, Glb>> files = {
      {"triangle", Glb().Add(Triangle())},
      {"colour", Glb().Add(Triangle().Color("1, 0.5, 2.5e-1, 1"))},
      {"normals", Glb().Add(Mesh(Floats(kTrianglePositions)).Normals(Floats(kUpNormals)).Indices(Uints({0, 1, 2})))},
      {"interleaved",
       Glb().Add(Mesh(Floats(kTrianglePositions).Stride(24)).Normals(Floats(kUpNormals).Stride(16).Offset(4)))},
      {"no_indices", Glb().Add(Mesh(Floats(kTrianglePositions)))},
      {"byte_indices", Glb().Add(Mesh(Floats(kTrianglePositions)).Indices(Ubytes({0, 1, 2})))},
      {"two_meshes", Glb().Add(Triangle().Color("1,0,0")).Add(Triangle().Without("primitives"))},
      {"second_primitive", Glb().Add(Triangle().SecondPrimitive(R"({"attributes":{"POSITION":0}})"))},
      {"no_view", Glb().Add(Mesh(Floats(kTrianglePositions).Without("bufferView")))},
      {"outside", Glb().Add(Mesh(Floats(kTrianglePositions).Field("count", "4")))},
      {"index_outside", Glb().Add(Mesh(Floats(kTrianglePositions)).Indices(Ushorts({0, 1, 3})))},
      {"stride_of_one", Glb().Add(Mesh(Floats(kTrianglePositions).ViewField("byteStride", "1").Field("count", "24")))},
      {"no_integer", Glb().Add(Mesh(Floats(kTrianglePositions).Field("count", "-")))},
      {"large_integer", Glb().Add(Mesh(Floats(kTrianglePositions).Field("count", "99999999999")))},
      {"no_float", Glb().Add(Triangle().Color("1, -, 0"))},
      {"small_float", Glb().Add(Triangle().Color("1e-50, 0, 0"))},
      {"open_material", Glb().Add(Triangle().Material(R"({"pbrMetallicRoughness":{"baseColorFactor":[1,1)"))},
      {"no_meshes", Glb().Json(R"({"meshes":[]})").Bin({})},
      {"other_version", Glb().Add(Triangle()).Version(1)},
      {"json_too_long", Glb().Add(Triangle()).JsonLength(0xFFFFFFFF)},
      {"json_type", Glb().Add(Triangle()).JsonType(0)},
      {"bin_too_long", Glb().Add(Triangle()).BinLength(0xFFFFFFFF)},
      {"bin_type", Glb().Add(Triangle()).BinType(0)},
      {"no_bin", Glb().Add(Triangle()).WithoutBin()},
      {"header_only", Glb().TruncatedTo(19)},
  };
  std::vector<Seed> seeds;
  for (const auto& [name, glb] : files) seeds.push_back({name, glb.Build()});
  return seeds;
}

// ---- json_scanning -----------------------------------------------------------------------------------------

Seed JsonSeed(const std::string& name, uint8_t key_number, uint8_t start, int8_t index, const std::string& text) {
  const Bytes text_bytes(text.begin(), text.end());
  return {name, Prefixed(key_number, Prefixed(start, Prefixed(static_cast<uint8_t>(index), text_bytes)))};
}

std::vector<Seed> JsonSeeds() {
  const std::string text = Glb().Add(Triangle().Color("1, 0.5, 2.5e-1")).Add(Triangle()).JsonText();
  std::vector<Seed> seeds;
  for (uint8_t key = 0; key < 20; ++key) seeds.push_back(JsonSeed("key_" + std::to_string(key), key, 0, 1, text));
  seeds.push_back(JsonSeed("own_key", 0xF1, 0, 0, R"(a{"a":[{"b":"}"},{"c":{"d":-12}}]})"));  // a length of 1
  seeds.push_back(JsonSeed("start_in_the_text", 0, 12, -1, text));
  seeds.push_back(JsonSeed("no_number", 12, 0, 0, R"({"count":-,"type":"VEC3"})"));
  seeds.push_back(JsonSeed("large_number", 12, 0, 0, R"({"count":99999999999})"));
  seeds.push_back(JsonSeed("nested_arrays", 0, 0, 0, R"({"meshes":[[1,{"a":[]}],{"b":{}}]})"));
  seeds.push_back(JsonSeed("empty", 0, 0, 0, ""));
  return seeds;
}

// ---- message_decoder ---------------------------------------------------------------------------------------

Bytes EncodeValue(const EncodableValue& value) {
  return *flutter::StandardMessageCodec::GetInstance().EncodeMessage(value);
}

Bytes EncodeCall(const std::string& method, EncodableValue arguments = {}) {
  return *flutter::StandardMethodCodec::GetInstance().EncodeMethodCall(
      {method, std::make_unique<EncodableValue>(std::move(arguments))});
}

std::vector<Seed> MessageSeeds() {
  const auto& codec = flutter::StandardMethodCodec::GetInstance();
  const EncodableValue every_kind(EncodableList{
      EncodableValue(),
      true,
      false,
      int32_t{-1},
      int64_t{1} << 40,
      2.5,
      "text",
      std::vector<uint8_t>{1, 2, 3},
      std::vector<int32_t>{4, 5},
      std::vector<int64_t>{6},
      std::vector<double>{7.5},
      std::vector<float>{8.5f},
      EncodableList{1.0, EncodableList{}},
      EncodableMap{{"b", 1.0}, {int32_t{1}, EncodableMap{{2.0, "x"}}}},
  });
  const EncodableValue numbers(EncodableMap{{std::vector<double>{1, 2}, 0.0}, {3.0, -0.0}, {int64_t{4}, {}}});
  return {
      {"every_kind", Prefixed(fuzz::kValue, EncodeValue(every_kind))},
      {"numbers_as_keys", Prefixed(fuzz::kValue, EncodeValue(numbers))},
      {"long_string", Prefixed(fuzz::kValue, EncodeValue(std::string(300, 'a')))},
      {"integer_as_text", Prefixed(fuzz::kValue, {5, 2, 'f', 'f'})},
      {"claims_too_much", Prefixed(fuzz::kValue, {12, 255, 255, 255, 255, 255, 13, 254, 255, 255, 10, 255, 1, 2})},
      {"unknown_type", Prefixed(fuzz::kValue, {200})},
      {"repeated_key", Prefixed(fuzz::kValue, {13, 2, 1, 2, 1, 3, 1, 0, 0, 0})},
      {"call", Prefixed(fuzz::kCall, EncodeCall("setModelScale", EncodableMap{{"scale", 1.0}}))},
      {"no_call", Prefixed(fuzz::kCall, EncodeValue(1.0))},
      {"success", Prefixed(fuzz::kEnvelope, *codec.EncodeSuccessEnvelope(&every_kind))},
      {"success_of_null", Prefixed(fuzz::kEnvelope, *codec.EncodeSuccessEnvelope(nullptr))},
      {"error", Prefixed(fuzz::kEnvelope, *codec.EncodeErrorEnvelope("CODE", "message", &numbers))},
      {"error_without_message", Prefixed(fuzz::kEnvelope, *codec.EncodeErrorEnvelope("CODE", "", nullptr))},
      {"error_without_code", Prefixed(fuzz::kEnvelope, {1, 3, 0, 0, 0, 0, 0, 0})},
      {"too_deep", Prefixed(fuzz::kTooDeep, EncodeValue(every_kind))},
      {"too_deep_and_cut_short", Prefixed(fuzz::kTooDeep, {12, 254, 255, 255, 13, 2, 1, 1, 3, 0})},
  };
}

// ---- method_call -------------------------------------------------------------------------------------------

Bytes Message(const Bytes& message) { return Prefixed(static_cast<uint8_t>(message.size()), message); }

Bytes Call(const std::string& method, EncodableValue arguments = {}) {
  return Message(EncodeCall(method, std::move(arguments)));
}

Bytes CreateTexture(int32_t width, int32_t height) {
  return Call("createTexture", EncodableMap{{"width", width}, {"height", height}});
}
Bytes LoadModel(const std::string& path) { return Call("loadModel", EncodableMap{{"modelPath", path}}); }
Bytes SetQuaternion(const std::string& method) {
  return Call(method, EncodableMap{{"x", 0.5}, {"y", 0.5}, {"z", -0.5}, {"w", 0.5}});
}
Bytes SetAngles(const std::string& method) {
  return Call(method, EncodableMap{{"roll", 10.0}, {"pitch", 90.0}, {"yaw", -30.0}});
}

const Bytes kFrame = {fuzz::kFetchFrame};
Bytes Failure(uint8_t nth) { return {static_cast<uint8_t>(fuzz::kFirstFailure + nth - 1)}; }

Bytes Join(const std::vector<Bytes>& steps) {
  Bytes joined;
  for (const Bytes& step : steps) Append(joined, step);
  return joined;
}

std::vector<Seed> MethodCallSeeds() {
  const Bytes start = Call("startRendering");
  const Bytes stop = Call("stopRendering");
  const Bytes dispose = Call("dispose");
  const Bytes viewer = Join({CreateTexture(4, 3), LoadModel("model.glb")});
  std::vector<Seed> seeds = {
      {"whole_run", Join({viewer, kFrame, start, kFrame, SetQuaternion("setQuaternion"), kFrame, stop, dispose})},
      {"settings",
       Join({viewer, SetQuaternion("setQuaternion"), SetQuaternion("setBaseQuaternion"), SetAngles("setRotation"),
             SetAngles("setBaseRotation"), Call("setCameraDistance", EncodableMap{{"distance", 2.0}}),
             Call("setModelScale", EncodableMap{{"scale", -1.0}}), start, kFrame, kFrame})},
      {"nothing_created", Join({start, stop, LoadModel("model.glb"), SetAngles("setRotation"), dispose})},
      {"wrong_types", Join({CreateTexture(4, 3), Call("setModelScale", EncodableMap{{"scale", int32_t{1}}}),
                            Call("createTexture", EncodableMap{{"width", 1.0}, {"height", int64_t{1}}}),
                            Call("loadModel", EncodableMap{{"modelPath", true}}), kFrame})},
      {"missing_arguments", Join({Call("createTexture"), Call("createTexture", EncodableMap{{"width", int32_t{1}}}),
                                  CreateTexture(4, 3), Call("loadModel", EncodableMap{}),
                                  Call("setRotation", EncodableList{1.0}), Call("setQuaternion", EncodableMap{})})},
      {"no_call", Join({Message({}), Message({3, 1, 0, 0, 0}), Message({7, 0}), Message({7, 1, 'x', 200})})},
      {"restarted", Join({viewer, start, kFrame, start, kFrame, dispose, start})},
      {"larger_texture", Join({viewer, kFrame, start, kFrame, CreateTexture(40, 30), kFrame, kFrame, start, kFrame})},
      {"disposed_and_again", Join({viewer, kFrame, dispose, kFrame, LoadModel("points.glb"), start, stop,
                                   CreateTexture(2, 2), kFrame, start, kFrame})},
      {"absurd_textures",
       Join({CreateTexture(0x7FFFFFFF, 0x7FFFFFFF), kFrame, CreateTexture(-1, 5), kFrame, CreateTexture(65536, 16384),
             kFrame, CreateTexture(0, 0), kFrame, viewer, start, kFrame, kFrame})},
      {"model_lost_while_drawing",
       Join({viewer, start, kFrame, LoadModel("missing.glb"), kFrame, LoadModel("asset.glb"), kFrame})},
      {"context_fails_on_the_render_thread", Join({viewer, Failure(1), start, kFrame, stop, start, kFrame})},
  };
  for (const auto& [name, glb] : fuzz::ModelFiles()) {
    std::string seed_name = "loads_" + name;
    for (char& c : seed_name) c = c == '/' ? '_' : c;
    seeds.push_back({seed_name, Join({CreateTexture(4, 3), LoadModel(name), start, kFrame})});
  }
  for (uint8_t nth = 1; nth <= 16; ++nth) {
    seeds.push_back({"failure_" + std::to_string(nth), Join({Failure(nth), viewer, kFrame, start, kFrame, kFrame})});
  }
  return seeds;
}

void Write(const std::filesystem::path& folder, const std::vector<Seed>& seeds) {
  std::filesystem::create_directories(folder);
  for (const Seed& seed : seeds) WriteFile((folder / seed.name).string(), seed.bytes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: orbisk_fuzz_seeds FOLDER\n", stderr);
    return 2;
  }
  try {
    const std::filesystem::path folder = argv[1];
    Write(folder / "glb_loader", GlbSeeds());
    Write(folder / "json_scanning", JsonSeeds());
    Write(folder / "message_decoder", MessageSeeds());
    Write(folder / "method_call", MethodCallSeeds());
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "orbisk_fuzz_seeds: %s\n", exception.what());
    return 1;
  }
  return 0;
}
