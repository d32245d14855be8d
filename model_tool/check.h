#ifndef MODEL_TOOL_CHECK_H_
#define MODEL_TOOL_CHECK_H_

#include <cstddef>
#include <string>
#include <vector>

#include "model_tool/finding.h"
#include "model_tool/triangle_match.h"

namespace model_tool {

/// What `orbisk_model check` is asked for.
struct CheckOptions {
  std::string file;
  size_t max_vertices = 50'000;
  bool json = false;
};

/// What the plug-in makes of a file.
struct CheckReport {
  /// As the exit status.
  enum class Verdict { kRight = 0, kWrong = 1, kRefused = 2, kUnreadable = 3 };

  Verdict verdict = Verdict::kRight;
  std::vector<Finding> findings;  // the worst first
  size_t meshes = 0;              // that the plug-in draws
  size_t vertices = 0;
  size_t triangles = 0;
  size_t meant_triangles = 0;  // that the file has in its scene
  Comparison comparison;
};

/// Compares what the plug-in's loader gets from the file with what the file means.
CheckReport Check(const CheckOptions& options);

/// For a person: the verdict, the findings, and the command that helps.
std::string ReportText(const CheckOptions& options, const CheckReport& report);

/// For scripts: docs/models.md has the schema.
std::string ReportJson(const CheckOptions& options, const CheckReport& report);

}  // namespace model_tool

#endif  // MODEL_TOOL_CHECK_H_
