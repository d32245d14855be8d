#ifndef TEST_FAULTS_RANDOM_COMMAND_H_
#define TEST_FAULTS_RANDOM_COMMAND_H_

#include <functional>
#include <string>
#include <vector>

#include "flutter/encodable_value.h"
#include "test/faults/random.h"
#include "test/support/files.h"
#include "test/support/glb_builder.h"

/// What a player knows of the viewer: enough to say what a command has to come to.
struct ViewerPicture {
  bool exists = false;
  bool has_model = false;
  int textures = 0;  // registered so far; their identifiers count from 1
};

/// One command with what has to come of it.
struct RandomCommand {
  std::string name;
  flutter::EncodableValue arguments;
  std::string text;  // for whoever reads a sequence that failed

  /// The outcomes that are right for the viewer as it is, as AnswerText has them, or the exception: "throws
  /// std::bad_variant_access". Changes the picture to what it is after the command; texture identifiers are counted by
  /// the player.
  std::function<std::vector<std::string>(ViewerPicture& viewer)> outcomes;
};

/// Model files of every kind that "loadModel" tells apart.
class ModelFiles {
 public:
  ModelFiles();

  struct File {
    std::string name;
    std::string path;
    std::string outcome;  // as RandomCommand::outcomes has it; its beginning for an error
    bool leaves_meshes;
  };
  const std::vector<File>& files() const { return files_; }
  const std::string& good_path() const { return files_.front().path; }

 private:
  TemporaryFolder folder_;
  std::vector<File> files_;
};

/// The next command of a sequence: any of the plug-in's, with arguments good, absurd, missing or of a wrong type, or
/// none of the plug-in's.
RandomCommand NextCommand(Random& random, const ModelFiles& files);

/// One of the six that only set numbers, with whatever numbers there are: a flood of them is made of these.
RandomCommand NextNumbersCommand(Random& random);

#endif  // TEST_FAULTS_RANDOM_COMMAND_H_
