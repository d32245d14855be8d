// orbisk_model: makes any model into one that the Orbisk plug-in shows right. Try `orbisk_model --help`.

#include <exception>
#include <iostream>

#include "model_tool/options.h"
#include "model_tool/prepare.h"

namespace {

constexpr int kCannotBeRead = 3;
constexpr int kWrongUse = 64;

}  // namespace

int main(int argc, char** argv) {
  try {
    const model_tool::Options options = model_tool::ParseOptions(argc, argv);
    std::cout << model_tool::Prepare(options.prepare) << std::flush;
    return 0;
  } catch (const model_tool::OptionsExit& exit) {
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
