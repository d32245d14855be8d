#ifndef MODEL_TOOL_PLUGIN_VIEW_H_
#define MODEL_TOOL_PLUGIN_VIEW_H_

#include <map>
#include <string>

#include "model_tool/scene.h"

namespace model_tool {

/// What the plug-in makes of a file: read by its own loader.
struct PluginView {
  Scene scene;                         // a part per mesh; empty: the file is refused
  std::string refusal;                 // why, in a person's words; empty: it loads
  std::map<int, std::string> failed;   // meshes of the file that are left out, and why
  std::map<int, size_t> part_of_mesh;  // the others
  size_t vertices = 0;
};

/// Loads a file as the plug-in does. Colours come as light, so that they can be compared with what a file means.
PluginView LoadAsPlugin(const std::string& path);

}  // namespace model_tool

#endif  // MODEL_TOOL_PLUGIN_VIEW_H_
