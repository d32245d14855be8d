#include "model_tool/prepare.h"

#include <filesystem>
#include <sstream>
#include <system_error>

#include "host/files.h"
#include "model_tool/flat_mesh.h"
#include "model_tool/glb_writer.h"
#include "model_tool/normals.h"
#include "model_tool/orientation.h"
#include "model_tool/palette.h"
#include "model_tool/scene_reader.h"
#include "model_tool/simplify.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

std::string Several(size_t count, const std::string& one, const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string Report(const PrepareOptions& options, const LeftOut& left_out, const Prepared& prepared) {
  std::ostringstream lines;
  lines << options.out << ": " << Several(prepared.vertices, "vertex", "vertices") << ", "
        << Several(prepared.triangles, "triangle", "triangles") << ", " << Several(prepared.colors, "colour", "colours")
        << "\n";
  if (left_out.line_and_point_primitives != 0) {
    lines << "left out: " << Several(left_out.line_and_point_primitives, "primitive", "primitives")
          << " of lines or points\n";
  }
  if (left_out.degenerate_triangles != 0) {
    lines << "left out: " << Several(left_out.degenerate_triangles, "triangle", "triangles") << " without an area\n";
  }
  if (left_out.transparent_triangles != 0) {
    lines << "left out: " << Several(left_out.transparent_triangles, "triangle", "triangles")
          << ", fully transparent\n";
  }
  if (prepared.triangles_before != prepared.triangles) {
    lines << "simplified: " << prepared.triangles_before << " triangles became " << prepared.triangles
          << "; the surface moved by " << 100 * prepared.error << " % of the longest side at most\n";
  }
  if (options.max_vertices && prepared.vertices > *options.max_vertices) {
    lines << "still more than " << *options.max_vertices << " vertices: no more can go without breaking the shape\n";
  }
  return lines.str();
}

}  // namespace

Prepared PrepareScene(Scene scene, const PrepareOptions& options) {
  Turn(scene, options.up, options.front);
  if (options.center) Center(scene);
  for (Part& part : scene.parts) FillNormals(part, options.crease);
  Prepared prepared;
  prepared.colors = ReducePalette(scene, options.colors);
  prepared.triangles_before = scene.triangle_count;
  std::vector<FlatMesh> meshes = JoinByColor(scene);
  scene.parts.clear();  // its memory is needed
  if (options.max_vertices) prepared.error = Simplify(meshes, *options.max_vertices, options.crease);
  prepared.meshes = meshes.size();
  prepared.vertices = VertexCount(meshes);
  for (const FlatMesh& mesh : meshes) prepared.triangles += mesh.indices.size() / 3;
  prepared.glb = WriteGlb(meshes);
  return prepared;
}

std::string Prepare(const PrepareOptions& options) {
  std::error_code ignored;
  if (std::filesystem::equivalent(options.in, options.out, ignored)) {
    throw ToolError(options.out + " is the file to be read; give the prepared one another name");
  }
  Scene scene;
  try {
    scene = ReadScene(options.in, options.scene);
  } catch (const ToolError& error) {
    throw ToolError("cannot read " + options.in + ": " + error.what());
  }
  const LeftOut left_out = scene.left_out;
  const Prepared prepared = PrepareScene(std::move(scene), options);
  host::WriteWholeFile(options.out, prepared.glb);
  return Report(options, left_out, prepared);
}

}  // namespace model_tool
