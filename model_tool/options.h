#ifndef MODEL_TOOL_OPTIONS_H_
#define MODEL_TOOL_OPTIONS_H_

#include <variant>

#include "model_tool/check.h"
#include "model_tool/prepare.h"

namespace model_tool {

/// What the command line asks for.
using Options = std::variant<CheckOptions, PrepareOptions>;

/// Reads the command line.
///
/// Failure  host::OptionsExit.
Options ParseOptions(int argc, const char* const* argv);

}  // namespace model_tool

#endif  // MODEL_TOOL_OPTIONS_H_
