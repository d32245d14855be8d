#ifndef MODEL_TOOL_FINDING_H_
#define MODEL_TOOL_FINDING_H_

#include <cstddef>
#include <string>

namespace model_tool {

/// Something about a file that a person should know.
struct Finding {
  /// How much it matters, the worst first.
  enum class Severity { kRefused, kWrong, kNote };

  Severity severity = Severity::kNote;
  std::string code;  // for scripts: stays the same when the words change
  size_t count = 0;  // how many of them there are
  std::string text;  // one line
};

}  // namespace model_tool

#endif  // MODEL_TOOL_FINDING_H_
