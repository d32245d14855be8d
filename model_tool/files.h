#ifndef MODEL_TOOL_FILES_H_
#define MODEL_TOOL_FILES_H_

#include <string>

namespace model_tool {

/// The bytes of a regular file.
///
/// Failure  ToolError.
std::string ReadWholeFile(const std::string& path);

}  // namespace model_tool

#endif  // MODEL_TOOL_FILES_H_
