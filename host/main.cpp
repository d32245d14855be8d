// orbisk_host: the Orbisk plug-in on a desk. Try `orbisk_host --help`.

#include <csignal>
#include <exception>

#include "host/console.h"
#include "host/environment.h"
#include "host/options.h"
#include "host/run.h"

namespace {

constexpr int kFailure = 1;
constexpr int kWrongUse = 2;

}  // namespace

int main(int argc, char** argv) {
  // Whoever reads the output may go; the pictures are written all the same.
  std::signal(SIGPIPE, SIG_IGN);
  host::Console console;
  try {
    const host::Options options = host::ParseOptions(argc, argv, host::DisplayPresent());
    if (host::ChooseEglPlatform()) {
      console.Line("no DISPLAY, WAYLAND_DISPLAY or EGL_PLATFORM is set: drawing with EGL_PLATFORM=surfaceless");
    }
    host::Run(options, console);
    return 0;
  } catch (const host::OptionsExit& exit) {
    if (exit.help()) {
      console.Out(exit.what());
      return 0;
    }
    console.Line(std::string(exit.what()) + " (orbisk_host --help explains)");
    return kWrongUse;
  } catch (const std::exception& error) {
    console.Line(error.what());
    return kFailure;
  }
}
