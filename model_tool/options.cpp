#include "model_tool/options.h"

#include <CLI/CLI.hpp>

#include <string>

#include "host/command_line.h"
#include "model_tool/orientation.h"

namespace model_tool {

namespace {

constexpr char kDescription[] =
    "orbisk_model says how the Orbisk plug-in will show a model, and makes one that it shows right.\n"
    "The plug-in reads of a .glb file its meshes, each in one colour; it knows no assembled parts, no\n"
    "textures, no compressed data.\n";

constexpr char kFooter[] = R"(
Examples:
    orbisk_model check assembly.glb
    orbisk_model prepare assembly.glb device.glb
    orbisk_model prepare housing.glb device.glb --up +Z --max-vertices 50000

Exit status of prepare: 0 done. Of check: 0 the file looks right, 1 it loads but looks wrong, 2 it is
refused. Of both: 3 a file cannot be read or written, 64 the command line is wrong.)";

std::optional<Vec3> TakeAxis(const std::string& option, const std::optional<std::string>& text) {
  if (!text) return std::nullopt;
  const std::optional<Vec3> axis = AxisNamed(*text);
  if (!axis) throw host::OptionsExit(option + ": expected +X, -X, +Y, -Y, +Z or -Z, found \"" + *text + "\"", false);
  return axis;
}

void AddCheck(CLI::App& app, CheckOptions& check) {
  CLI::App& command = *app.add_subcommand("check", "Say what the plug-in would make of a file");
  command.add_option("FILE", check.file, "The model")->required()->type_name("FILE");
  command.add_option("--max-vertices", check.max_vertices, "How many vertices are too many (default 50000)")
      ->type_name("N");
  command.add_flag("--json", check.json, "Write the report as JSON");
}

void AddPrepare(CLI::App& app, PrepareOptions& prepare, std::optional<std::string>& up,
                std::optional<std::string>& front) {
  CLI::App& command = *app.add_subcommand("prepare", "Write a .glb file that the plug-in shows as the model is meant");
  command.add_option("IN", prepare.in, "The model")->required()->type_name("FILE");
  command.add_option("OUT", prepare.out, "The .glb file to write")->required()->type_name("FILE");
  command.add_option("--scene", prepare.scene, "Which scene of a glTF file (default: the one it names)")
      ->type_name("N");
  command.add_option("--colors", prepare.colors, "How many colours at most (default 16)")
      ->check(CLI::Range(1, 4096))
      ->type_name("N");
  command.add_option("--max-vertices", prepare.max_vertices, "Simplify to so many vertices")
      ->check(CLI::Range(3, 1000000000))
      ->type_name("N");
  command
      .add_option("--crease", prepare.crease,
                  "Where normals are missing, edges sharper than this stay sharp (default 40)")
      ->check(CLI::Range(0.0, 180.0))
      ->type_name("DEGREES");
  command.add_option("--up", up, "Which axis of the model is up (default +Y)")->type_name("AXIS");
  command.add_option("--front", front, "Which axis of the model looks at the viewer (default +Z; -Y where Z is up)")
      ->type_name("AXIS");
  command.add_flag("--center", prepare.center, "Move the middle of the model to the origin");
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv) {
  CheckOptions check;
  PrepareOptions prepare;
  std::optional<std::string> up, front;
  CLI::App app(kDescription);
  app.name("orbisk_model");
  app.footer(kFooter);
  app.require_subcommand(1);
  app.get_formatter()->column_width(26);
  AddCheck(app, check);
  AddPrepare(app, prepare, up, front);
  host::ParseCommandLine(app, argc, argv);
  if (app.got_subcommand("check")) return check;
  prepare.up = TakeAxis("--up", up);
  prepare.front = TakeAxis("--front", front);
  return prepare;
}

}  // namespace model_tool
