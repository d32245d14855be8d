#ifndef HOST_COMMAND_LINE_H_
#define HOST_COMMAND_LINE_H_

#include <stdexcept>
#include <string>

namespace CLI {
class App;
}

namespace host {

/// A command line that runs nothing: it asked for help, or it is wrong.
class OptionsExit : public std::runtime_error {
 public:
  OptionsExit(const std::string& text, bool help) : std::runtime_error(text), help_(help) {}
  /// True: what() is the help text. False: what() is one line that says what is wrong.
  bool help() const { return help_; }

 private:
  const bool help_;
};

/// Reads the command line into what `app` was told of.
///
/// Failure  OptionsExit.
void ParseCommandLine(CLI::App& app, int argc, const char* const* argv);

}  // namespace host

#endif  // HOST_COMMAND_LINE_H_
