#ifndef MODEL_TOOL_OPTIONS_H_
#define MODEL_TOOL_OPTIONS_H_

#include <stdexcept>
#include <string>
#include <variant>

#include "model_tool/check.h"
#include "model_tool/prepare.h"

namespace model_tool {

/// What the command line asks for.
using Options = std::variant<CheckOptions, PrepareOptions>;

/// A command line that runs nothing: it asked for help, or it is wrong.
class OptionsExit : public std::runtime_error {
 public:
  OptionsExit(const std::string& text, bool help) : std::runtime_error(text), help_(help) {}
  /// True: what() is the help text. False: what() is one line that says what is wrong.
  bool help() const { return help_; }

 private:
  const bool help_;
};

/// Reads the command line.
///
/// Failure  OptionsExit.
Options ParseOptions(int argc, const char* const* argv);

}  // namespace model_tool

#endif  // MODEL_TOOL_OPTIONS_H_
