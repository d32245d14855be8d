// Runs orbisk_model as a person does.

#ifndef TEST_MODEL_TOOL_PROGRAM_H_
#define TEST_MODEL_TOOL_PROGRAM_H_

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "test/support/files.h"

namespace model_tool_test {

struct ProgramResult {
  int status = -1;  // exit status; -1: it was killed by a signal
  std::string out;
  std::string err;
};

class ProgramTest : public ::testing::Test {
 protected:
  /// `before` stands in front of the command, for the shell.
  ProgramResult Run(const std::vector<std::string>& arguments, const std::string& before = "") {
    const auto quoted = [](const std::string& text) { return " '" + text + "'"; };
    std::string command = before + quoted(ORBISK_MODEL_PROGRAM);
    for (const std::string& argument : arguments) command += quoted(argument);
    command += " >" + quoted(logs_.PathOf("out")) + " 2>" + quoted(logs_.PathOf("err"));
    const int status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, ReadFile(logs_.PathOf("out")), ReadFile(logs_.PathOf("err"))};
  }

  ProgramResult Prepare(const std::string& path, const std::string& before = "") {
    return Run({"prepare", path, Out()}, before);
  }

  std::string Out() const { return folder_.PathOf("out.glb"); }

  /// One line that begins as it should and has `words` in it, and nothing written.
  void ExpectRefused(const ProgramResult& result, const std::string& words) {
    EXPECT_EQ(result.status, 3) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err.rfind("orbisk_model: cannot ", 0), 0u) << result.err;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    EXPECT_NE(result.err.find(words), std::string::npos) << result.err;
    for (const std::string& name : folder_.Names()) EXPECT_NE(name.rfind("out.glb", 0), 0u) << name;
  }

  const TemporaryFolder folder_;

 private:
  const TemporaryFolder logs_;
};

}  // namespace model_tool_test

#endif  // TEST_MODEL_TOOL_PROGRAM_H_
