#include "model_tool/check.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>
#include <sstream>

#include "model_tool/files.h"
#include "model_tool/gltf_features.h"
#include "model_tool/gltf_file.h"
#include "model_tool/gltf_nodes.h"
#include "model_tool/gltf_scene.h"
#include "model_tool/plugin_view.h"
#include "model_tool/scene_reader.h"
#include "model_tool/tool_error.h"

namespace model_tool {

namespace {

using Severity = Finding::Severity;
using Verdict = CheckReport::Verdict;

std::string Percent(double share) {
  std::ostringstream text;
  text.precision(share < 0.1 ? 1 : 0);
  text << std::fixed << 100 * share << " %";
  return text.str();
}

// ---- Parts -------------------------------------------------------------------------------------------------

// How far a part of the plug-in's stands from where the file means it, both fitted.
double Displacement(const Part& part, const Fit& shown, const Transform& transform, const Fit& meant) {
  double largest = 0;
  for (const Triangle& triangle : part.triangles) {
    for (const Point& point : triangle.positions) {
      const Vec3 local = ToVec3(point);
      largest = std::max(largest, Length(shown(local) - meant(transform.Point(local))));
    }
  }
  return largest;
}

struct Displaced {
  double distance;
  std::string name;
};

std::string NameOf(const GltfFile& file, const PlacedMesh& placed) {
  if (placed.node < 0) return "mesh " + std::to_string(placed.mesh);
  const std::string& name = file.model.nodes[static_cast<size_t>(placed.node)].name;
  return name.empty() ? "node " + std::to_string(placed.node) : name;
}

void FindDisplaced(const GltfFile& file, const Scene& meant, const PluginView& view, std::vector<Finding>& findings) {
  const Fit shown_fit = FitOf(view.scene);
  const Fit meant_fit = FitOf(meant);
  std::vector<Displaced> displaced;
  std::map<int, size_t> copies;
  for (const PlacedMesh& placed : PlaceMeshes(file, WorldTransforms(file), std::nullopt)) {
    const auto part = view.part_of_mesh.find(placed.mesh);
    if (part == view.part_of_mesh.end()) continue;
    ++copies[placed.mesh];
    const double distance = Displacement(view.scene.parts[part->second], shown_fit, placed.transform, meant_fit);
    constexpr double kSeen = 1e-3;
    if (distance > kSeen) displaced.push_back({distance, NameOf(file, placed)});
  }
  if (!displaced.empty()) {
    std::stable_sort(displaced.begin(), displaced.end(),
                     [](const Displaced& a, const Displaced& b) { return a.distance > b.distance; });
    std::string names;
    constexpr size_t kMost = 5;
    for (size_t i = 0; i < std::min(displaced.size(), kMost); ++i) names += (i == 0 ? "" : ", ") + displaced[i].name;
    if (displaced.size() > kMost) names += ", ...";
    findings.push_back({Severity::kWrong, "misplaced", displaced.size(),
                        "parts in the wrong place, by up to " + Percent(displaced.front().distance) +
                            " of the longest side: " + names});
  }
  size_t further = 0;
  for (const auto& [mesh, count] : copies) further += count - 1;
  if (further != 0) {
    findings.push_back({Severity::kWrong, "copies", further, "further places of meshes, which are drawn in one only"});
  }
  const size_t unplaced = view.part_of_mesh.size() - copies.size();
  if (unplaced != 0) {
    findings.push_back(
        {Severity::kWrong, "unplaced", unplaced, "meshes that are drawn, though the scene has none of them"});
  }
}

// ---- The file as a whole -----------------------------------------------------------------------------------

void FindFailed(const PluginView& view, std::vector<Finding>& findings) {
  std::map<std::string, std::vector<int>> by_reason;
  for (const auto& [mesh, why] : view.failed) by_reason[why].push_back(mesh);
  for (const auto& [why, meshes] : by_reason) {
    findings.push_back(
        {Severity::kWrong, "failed_meshes", meshes.size(),
         "meshes that are left out, the first of them mesh " + std::to_string(meshes.front()) + ": " + why});
  }
}

void FindColors(const Comparison& comparison, std::vector<Finding>& findings) {
  if (comparison.darker != 0) {
    findings.push_back(
        {Severity::kWrong, "darker", comparison.darker,
         "triangles in a darker colour than meant, by up to " + Percent(comparison.color_distance) + " of a channel"});
  }
  if (comparison.other_color != comparison.darker) {
    findings.push_back(
        {Severity::kWrong, "colors", comparison.other_color - comparison.darker,
         "triangles in another colour than meant, by up to " + Percent(comparison.color_distance) + " of a channel"});
  }
}

// What is not wrong, but may be slow.
void FindCosts(const GltfFile& file, const CheckOptions& options, const PluginView& view,
               std::vector<Finding>& findings) {
  const size_t scanned = view.scene.parts.size() * file.json.size();
  constexpr size_t kNoticed = 200'000'000;
  if (scanned > kNoticed) {
    findings.push_back({Severity::kNote, "load_cost", scanned,
                        "bytes of JSON to scan: the plug-in scans all of it for each mesh, and loads slowly"});
  }
  if (view.vertices > options.max_vertices) {
    findings.push_back({Severity::kNote, "vertices", view.vertices,
                        "vertices, more than the budget of " + std::to_string(options.max_vertices)});
  }
}

CheckReport CheckGlb(const CheckOptions& options) {
  CheckReport report;
  const PluginView view = LoadAsPlugin(options.file);
  std::optional<GltfFile> file;
  Scene meant;
  std::string trouble;
  try {
    file = ReadGltfFile(options.file);
    meant = ReadGltfScene(*file, std::nullopt);
  } catch (const std::exception& error) {
    trouble = error.what();
  }
  report.meant_triangles = meant.triangle_count;
  report.meshes = view.scene.parts.size();
  report.vertices = view.vertices;
  report.triangles = view.scene.triangle_count;
  if (!trouble.empty()) {
    report.verdict = view.refusal.empty() ? Verdict::kWrong : Verdict::kUnreadable;
    report.findings.push_back({view.refusal.empty() ? Severity::kWrong : Severity::kRefused, "unreadable", 1,
                               view.refusal.empty() ? "it cannot be read as a whole: " + trouble : trouble});
    return report;
  }
  std::vector<Finding>& findings = report.findings;
  if (!view.refusal.empty()) {
    findings.push_back({Severity::kRefused, "refused", 1, "the plug-in refuses it: " + view.refusal});
  }
  report.comparison = Compare(meant, view.scene);
  const Comparison& comparison = report.comparison;
  const bool wrong = comparison.missing != 0 || comparison.extra != 0 || comparison.other_color != 0;
  if (wrong) {
    if (view.refusal.empty()) FindDisplaced(*file, meant, view, findings);
    FindFailed(view, findings);
    FindColors(comparison, findings);
    for (const Finding& finding : UnknownFeatures(*file)) findings.push_back(finding);
    if (findings.empty()) {
      findings.push_back({Severity::kWrong, "other", comparison.missing + comparison.extra,
                          "triangles that are not as the file means them"});
    }
  }
  FindCosts(*file, options, view, findings);
  report.verdict = !view.refusal.empty() ? Verdict::kRefused : wrong ? Verdict::kWrong : Verdict::kRight;
  return report;
}

}  // namespace

CheckReport Check(const CheckOptions& options) {
  CheckReport report;
  try {
    if (ReadBeginning(options.file, 4) == "glTF") return CheckGlb(options);
    report.meant_triangles = ReadScene(options.file, std::nullopt).triangle_count;
    report.verdict = Verdict::kRefused;
    report.findings.push_back({Severity::kRefused, "refused", 1, "the plug-in reads binary glTF files (.glb) only"});
  } catch (const ToolError& error) {
    report.verdict = Verdict::kUnreadable;
    report.findings.push_back({Severity::kRefused, "unreadable", 1, error.what()});
  }
  return report;
}

}  // namespace model_tool
