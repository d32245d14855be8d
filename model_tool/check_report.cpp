#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>

#include "model_tool/check.h"

namespace model_tool {

namespace {

using Verdict = CheckReport::Verdict;

const char* Words(Verdict verdict) {
  switch (verdict) {
    case Verdict::kRight: return "looks right";
    case Verdict::kWrong: return "loads, but looks wrong";
    case Verdict::kRefused: return "is refused";
    case Verdict::kUnreadable: return "cannot be read";
  }
  return "";
}

const char* Word(Finding::Severity severity) {
  switch (severity) {
    case Finding::Severity::kRefused: return "refused";
    case Finding::Severity::kWrong: return "wrong";
    case Finding::Severity::kNote: return "note";
  }
  return "";
}

// Empty where it would not help.
std::string Command(const CheckOptions& options, const CheckReport& report) {
  if (report.verdict != Verdict::kWrong && report.verdict != Verdict::kRefused) return "";
  std::filesystem::path out = options.file;
  out.replace_extension();
  return "orbisk_model prepare " + options.file + " " + out.string() + "_prepared.glb";
}

}  // namespace

std::string ReportText(const CheckOptions& options, const CheckReport& report) {
  if (report.verdict == Verdict::kUnreadable) {
    return options.file + " cannot be read: " + report.findings.front().text + "\n";
  }
  std::ostringstream text;
  text << options.file << " " << Words(report.verdict) << "\n";
  for (const Finding& finding : report.findings) {
    text << "  ";
    if (finding.severity != Finding::Severity::kRefused) text << finding.count << " ";
    text << finding.text << "\n";
  }
  if (report.meshes != 0) {
    text << "drawn: " << report.meshes << " meshes, " << report.vertices << " vertices, " << report.triangles
         << " triangles; " << report.comparison.matched << " of the " << report.meant_triangles
         << " triangles that are meant are in their place\n";
  }
  const std::string command = Command(options, report);
  if (!command.empty()) text << "to mend it: " << command << "\n";
  return text.str();
}

std::string ReportJson(const CheckOptions& options, const CheckReport& report) {
  using Json = nlohmann::ordered_json;
  Json findings = Json::array();
  for (const Finding& finding : report.findings) {
    findings.push_back({{"code", finding.code},
                        {"severity", Word(finding.severity)},
                        {"count", finding.count},
                        {"text", finding.text}});
  }
  const Json json = {
      {"file", options.file},
      {"status", static_cast<int>(report.verdict)},
      {"verdict", Words(report.verdict)},
      {"findings", findings},
      {"drawn", {{"meshes", report.meshes}, {"vertices", report.vertices}, {"triangles", report.triangles}}},
      {"meant", {{"triangles", report.meant_triangles}}},
      {"compared",
       {{"matched", report.comparison.matched},
        {"missing", report.comparison.missing},
        {"extra", report.comparison.extra},
        {"other_color", report.comparison.other_color}}},
      {"command", Command(options, report)},
  };
  return json.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace model_tool
