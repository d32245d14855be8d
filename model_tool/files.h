#ifndef MODEL_TOOL_FILES_H_
#define MODEL_TOOL_FILES_H_

#include <cstddef>
#include <string>

namespace model_tool {

/// The bytes of a regular file.
///
/// Failure  ToolError.
std::string ReadWholeFile(const std::string& path);

/// Its first bytes, `most` at most; otherwise as ReadWholeFile.
std::string ReadBeginning(const std::string& path, size_t most);

}  // namespace model_tool

#endif  // MODEL_TOOL_FILES_H_
