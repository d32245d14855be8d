#include "test/faults/random_command.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

#include "test/faults/graphics.h"
#include "test/support/commands.h"

using flutter::EncodableList;
using flutter::EncodableMap;
using flutter::EncodableValue;

namespace {

using Outcomes = std::vector<std::string>;

const char kWrongType[] = "throws std::bad_variant_access";

// ---- Arguments ---------------------------------------------------------------------------------------------

// A map with what each key is to hold, or what is wrong with the arguments, and the outcome that is then right.
struct Arguments {
  EncodableValue value;
  std::string note;                    // what is wrong; empty: nothing
  std::optional<std::string> outcome;  // of a command that has got as far as its arguments
};

EncodableValue AnyOther(Random& random, const EncodableValue& right) {
  static const std::vector<EncodableValue> kValues = {
      EncodableValue(),
      EncodableValue(true),
      EncodableValue(int32_t{2}),
      EncodableValue(int64_t{2}),
      EncodableValue(2.0),
      EncodableValue("two"),
      EncodableValue(EncodableList{2.0}),
      EncodableValue(EncodableMap{}),
      EncodableValue(std::vector<uint8_t>{2}),
      EncodableValue(std::vector<float>{2}),
  };
  const EncodableValue* other = nullptr;
  do other = &random.OneOf(kValues);
  while (other->index() == right.index());
  return *other;
}

// The map as it is, or one time in eight something else.
Arguments MaybeWrong(Random& random, EncodableMap map, const std::string& missing_answer) {
  if (!random.OneIn(8)) return {EncodableValue(std::move(map)), "", std::nullopt};
  const auto victim = std::next(map.begin(), static_cast<std::ptrdiff_t>(random.Below(map.size())));
  switch (random.Below(4)) {
    case 0: return {EncodableValue(), "no arguments", commands::kNoMapAnswer};
    case 1: return {EncodableValue(EncodableList{1, 2}), "a list for a map", commands::kNoMapAnswer};
    case 2: map.erase(victim); return {EncodableValue(std::move(map)), "a key missing", missing_answer};
    default:
      victim->second = AnyOther(random, victim->second);
      return {EncodableValue(std::move(map)), "a value of a wrong type", kWrongType};
  }
}

std::string Described(const std::string& name, const std::string& arguments, const std::string& note) {
  return name + "(" + arguments + ")" + (note.empty() ? "" : " with " + note);
}

// ---- Texture -----------------------------------------------------------------------------------------------

// NOTE: the pixel buffer of a size is as many bytes as its signed 32-bit product says. The absurd ones are chosen so
// that this is little, negative, or less than the size needs, and never gigabytes that a machine would have to find.
RandomCommand CreateTexture(Random& random) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  static const std::vector<std::pair<int32_t, int32_t>> kAbsurd = {
      {0, 0},         {0, 48},      {64, 0},      {-5, 10},  {10, -5},  {-10, -10},   {-640, 480}, {65536, 65536},
      {30000, 30000}, {kMax, kMax}, {kMin, kMin}, {kMin, 1}, {1, kMax}, {1 << 30, 1}, {100000, 1}, {1, 100000}};
  std::pair<int32_t, int32_t> size = random.OneOf(kAbsurd);
  const bool absurd = random.OneIn(3) && std::max(size.first, size.second) <= graphics::LargestSide();
  if (!absurd) size = {1 + static_cast<int32_t>(random.Below(96)), 1 + static_cast<int32_t>(random.Below(96))};
  Arguments arguments = MaybeWrong(random, {{"width", size.first}, {"height", size.second}},
                                   commands::Named("createTexture").missing_answer());
  const std::string text = std::to_string(size.first) + " x " + std::to_string(size.second);
  return {"createTexture", std::move(arguments.value), Described("createTexture", text, arguments.note),
          [absurd, outcome = arguments.outcome](ViewerPicture& viewer) -> Outcomes {
            if (outcome) return {*outcome};
            viewer.exists = true;
            const std::string success = "success " + std::to_string(viewer.textures + 1);
            if (!absurd) return {success};
            return {"error INIT_FAILED: Failed to initialize EGL renderer", success};  // as the driver pleases
          }};
}

// ---- Model -------------------------------------------------------------------------------------------------

RandomCommand LoadModel(Random& random, const ModelFiles& files) {
  const ModelFiles::File& file = random.OneIn(2) ? files.files().front() : random.OneOf(files.files());
  const commands::Command& command = commands::Named("loadModel");
  Arguments arguments = MaybeWrong(random, {{"modelPath", file.path}}, command.missing_answer());
  return {command.name, std::move(arguments.value), Described(command.name, file.name, arguments.note),
          [&command, &file, outcome = arguments.outcome](ViewerPicture& viewer) -> Outcomes {
            if (!viewer.exists) return {command.without_viewer_answer()};
            if (outcome) return {*outcome};
            viewer.has_model = file.leaves_meshes;
            return {file.outcome};
          }};
}

// ---- Numbers -----------------------------------------------------------------------------------------------

double AnyNumber(Random& random) {
  using Limits = std::numeric_limits<double>;
  static const std::vector<double> kOdd = {
      0.0,
      -0.0,
      1.0,
      -1.0,
      90.0,
      -90.0,
      180.0,
      1e-300,
      1e30,
      1e300,
      -1e300,
      Limits::quiet_NaN(),
      Limits::infinity(),
      -Limits::infinity(),
      Limits::max(),
      Limits::denorm_min(),
      3.5e38,
  };
  if (random.OneIn(2)) return random.OneOf(kOdd);
  return static_cast<double>(random.Below(720'000)) / 1000.0 - 360.0;
}

// ---- Commands without arguments, and none ------------------------------------------------------------------

RandomCommand StartRendering() {
  return {"startRendering", EncodableValue(), "startRendering()", [](ViewerPicture& viewer) -> Outcomes {
            if (!viewer.exists) return {commands::Named("startRendering").without_viewer_answer()};
            if (!viewer.has_model) return {"error NO_MODEL: Model not loaded"};
            return {"success true"};
          }};
}

RandomCommand StopRendering() {
  return {"stopRendering", EncodableValue("whatever"), "stopRendering()",
          [](ViewerPicture&) -> Outcomes { return {"success true"}; }};
}

RandomCommand Dispose() {
  return {"dispose", EncodableValue(), "dispose()", [](ViewerPicture& viewer) -> Outcomes {
            viewer.has_model = false;
            return {"success true"};
          }};
}

RandomCommand UnknownCommand(Random& random) {
  static const std::vector<std::string> kNames = {
      "",      "createtexture",       "createTexture ",           "setquaternion",
      "reset", std::string(300, 'x'), std::string("dispose\0", 8)};
  const std::string& name = random.OneOf(kNames);
  return {name, EncodableValue(EncodableMap{{"width", 64}}), "unknown command \"" + name + "\"",
          [](ViewerPicture&) -> Outcomes { return {"not implemented"}; }};
}

}  // namespace

RandomCommand NextNumbersCommand(Random& random) {
  static const std::vector<commands::Command> kCommands = commands::ThatTakeNumbers();
  const commands::Command& command = random.OneOf(kCommands);
  EncodableMap map;
  std::string text;
  for (const commands::Argument& argument : command.arguments) {
    const double number = AnyNumber(random);
    map[EncodableValue(argument.key)] = EncodableValue(number);
    text += (text.empty() ? "" : ", ") + std::to_string(number);
  }
  Arguments arguments = MaybeWrong(random, std::move(map), command.missing_answer());
  return {command.name, std::move(arguments.value), Described(command.name, text, arguments.note),
          [&command, outcome = arguments.outcome](ViewerPicture& viewer) -> Outcomes {
            if (!viewer.exists) return {command.without_viewer_answer()};
            return {outcome.value_or("success true")};
          }};
}

RandomCommand NextCommand(Random& random, const ModelFiles& files) {
  switch (random.Below(16)) {
    case 0:
    case 1: return CreateTexture(random);
    case 2:
    case 3:
    case 4: return LoadModel(random, files);
    case 5:
    case 6:
    case 7: return StartRendering();
    case 8: return StopRendering();
    case 9: return Dispose();
    case 10: return UnknownCommand(random);
    default: return NextNumbersCommand(random);
  }
}

// ---- Model files -------------------------------------------------------------------------------------------

ModelFiles::ModelFiles() {
  using glb_builder::Glb;
  using glb_builder::Triangle;
  const char kFailed[] = "error LOAD_FAILED: Failed to load model: ";
  const auto add = [this](const std::string& name, const Glb& glb, const std::string& outcome, bool leaves_meshes) {
    files_.push_back({name, folder_.Write(name, glb), outcome, leaves_meshes});
  };
  add("good.glb", Glb().Add(Triangle().Color("1, 0.5, 0.25")).Add(Triangle()), "success true", true);
  add("one_mesh_broken.glb", Glb().Add(Triangle()).Add(Triangle().Without("primitives")), "success true", true);
  add("not_drawable.glb",  // normals, no indices: loads, and every frame says that it is empty
      Glb().Add(glb_builder::Mesh(glb_builder::Floats(glb_builder::kTrianglePositions))
                    .Normals(glb_builder::Floats({0, 0, 1, 0, 0, 1, 0, 0, 1}))),
      "success true", true);
  add("cut_off.glb", Glb().Add(Triangle()).TruncatedTo(40), kFailed, false);
  add("other_magic.glb", Glb().Add(Triangle()).Magic(0), kFailed, false);
  add("claims_too_much.glb", Glb().Add(Triangle()).BinLength(0xFFFFFFFF), kFailed, false);
  add("no_meshes.glb", Glb().Json(R"({"meshes":[]})").Bin({}), kFailed, false);
  add("bad_number.glb", Glb().Add(Triangle().Color("1e-50, 0, 0")), "throws std::out_of_range", false);
  add("bad_number_later.glb", Glb().Add(Triangle()).Add(Triangle().Color("-, 0, 0")), "throws std::invalid_argument",
      true);
  files_.push_back({"no such file", folder_.PathOf("none.glb"), kFailed, false});
  files_.push_back({"a folder", folder_.path(), kFailed, false});
  files_.push_back({"no path at all", "", kFailed, false});
}
