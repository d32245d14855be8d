#ifndef MODEL_TOOL_TOOL_ERROR_H_
#define MODEL_TOOL_TOOL_ERROR_H_

#include <stdexcept>

namespace model_tool {

/// Why a file cannot be read or written: one line that a person can act on, without the program's name and without a
/// newline.
class ToolError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace model_tool

#endif  // MODEL_TOOL_TOOL_ERROR_H_
