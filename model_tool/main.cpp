// orbisk_model: says how the Orbisk plug-in will show a model, and makes one that it shows right. Try `orbisk_model --help`.

#include <exception>
#include <iostream>

#include "host/command_line.h"
#include "model_tool/check.h"
#include "model_tool/options.h"
#include "model_tool/prepare.h"

namespace {

constexpr int kCannotBeRead = 3;
constexpr int kWrongUse = 64;

int RunCheck(const model_tool::CheckOptions& options) {
  const model_tool::CheckReport report = model_tool::Check(options);
  std::cout << (options.json ? model_tool::ReportJson(options, report) : model_tool::ReportText(options, report))
            << std::flush;
  return static_cast<int>(report.verdict);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const model_tool::Options options = model_tool::ParseOptions(argc, argv);
    if (const auto* prepare = std::get_if<model_tool::PrepareOptions>(&options)) {
      std::cout << model_tool::Prepare(*prepare) << std::flush;
      return 0;
    }
    return RunCheck(std::get<model_tool::CheckOptions>(options));
  } catch (const host::OptionsExit& exit) {
    if (exit.help()) {
      std::cout << exit.what() << std::flush;
      return 0;
    }
    std::cerr << "orbisk_model: " << exit.what() << " (orbisk_model --help explains)" << std::endl;
    return kWrongUse;
  } catch (const std::exception& error) {
    std::cerr << "orbisk_model: " << error.what() << std::endl;
    return kCannotBeRead;
  }
}
