#include "host/command_line.h"

#include <CLI/CLI.hpp>

namespace host {

void ParseCommandLine(CLI::App& app, int argc, const char* const* argv) {
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    throw OptionsExit(app.help(), true);
  } catch (const CLI::ParseError& error) {
    // CLI11's own messages, some of which run over several lines.
    const std::string text = error.what();
    throw OptionsExit(text.substr(0, text.find('\n')), false);
  }
}

}  // namespace host
