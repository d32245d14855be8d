#ifndef TEST_SUPPORT_COMMANDS_H_
#define TEST_SUPPORT_COMMANDS_H_

#include <algorithm>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

/// The plug-in's commands: what each takes, and what it says where something is missing. The one list of them in the
/// tests: a new command gets its row here, and with it the tests that hold for every command.
namespace commands {

/// What a value has to be; nothing is converted.
enum class Type { kInt32, kDouble, kString };

inline constexpr const char* kTypeNames[] = {"int32", "double", "string"};
inline std::string NameOf(Type type) { return kTypeNames[static_cast<int>(type)]; }

struct Argument {
  std::string key;
  Type type;
};

struct Command {
  std::string name;
  std::vector<Argument> arguments;  // all of them needed; none: whatever comes is ignored
  std::string missing;              // the message where a key is missing
  std::string without_viewer;       // the message where there is no viewer; empty: needs none

  bool needs_viewer() const { return !without_viewer.empty(); }
  /// Whether all that it does is to store numbers.
  bool takes_numbers() const {
    return !arguments.empty() &&
           std::all_of(arguments.begin(), arguments.end(), [](const Argument& it) { return it.type == Type::kDouble; });
  }

  // Answers, as AnswerText has them.
  std::string missing_answer() const { return "error INVALID_ARGS: " + missing; }
  std::string without_viewer_answer() const { return "error NOT_INITIALIZED: " + without_viewer; }
};

// For GoogleTest.
inline void PrintTo(const Command& command, std::ostream* stream) { *stream << command.name; }

/// What every command that takes arguments answers where they are no map.
inline const std::string kNoMapAnswer = "error INVALID_ARGS: Arguments must be a map";

inline const std::vector<Command>& All() {
  static const std::vector<Command> all = [] {
    const auto int32 = [](const char* key) { return Argument{key, Type::kInt32}; };
    const auto number = [](const char* key) { return Argument{key, Type::kDouble}; };
    const auto string = [](const char* key) { return Argument{key, Type::kString}; };
    const std::vector<Argument> nothing;
    const std::vector<Argument> quaternion = {number("x"), number("y"), number("z"), number("w")};
    const std::vector<Argument> angles = {number("roll"), number("pitch"), number("yaw")};

    const std::string no_quaternion = "Missing quaternion components";
    const std::string no_angles = "Missing 'roll', 'pitch', or 'yaw' parameter";

    const std::string no_texture = "Texture not created";
    const std::string no_viewer = "Viewer state not initialized";

    return std::vector<Command>{
        {"createTexture", {int32("width"), int32("height")}, "Missing width or height", ""},
        {"loadModel", {string("modelPath")}, "Missing modelPath", no_texture},
        {"startRendering", nothing, "", no_texture},
        {"stopRendering", nothing, "", ""},
        {"dispose", nothing, "", ""},
        {"setCameraDistance", {number("distance")}, "Missing 'distance' parameter", no_viewer},
        {"setModelScale", {number("scale")}, "Missing 'scale' parameter", no_viewer},
        {"setRotation", angles, no_angles, no_viewer},
        {"setBaseRotation", angles, no_angles, no_viewer},
        {"setQuaternion", quaternion, no_quaternion, no_viewer},
        {"setBaseQuaternion", quaternion, no_quaternion, no_viewer},
    };
  }();
  return all;
}

/// Those for which `wanted(command)` is true.
template <typename Predicate>
std::vector<Command> Those(Predicate wanted) {
  std::vector<Command> those;
  std::copy_if(All().begin(), All().end(), std::back_inserter(those), wanted);
  return those;
}

inline std::vector<Command> WithArguments() {
  return Those([](const Command& it) { return !it.arguments.empty(); });
}
inline std::vector<Command> ThatNeedAViewer() {
  return Those([](const Command& it) { return it.needs_viewer(); });
}
inline std::vector<Command> ThatTakeNumbers() {
  return Those([](const Command& it) { return it.takes_numbers(); });
}

inline const Command& Named(const std::string& name) {
  const auto found = std::find_if(All().begin(), All().end(), [&](const Command& it) { return it.name == name; });
  if (found == All().end()) throw std::logic_error("no such command: " + name);
  return *found;
}

}  // namespace commands

#endif  // TEST_SUPPORT_COMMANDS_H_
