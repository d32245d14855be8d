// Registration, dispatch by name, what all commands answer to bad arguments, and the end of the plug-in.

#include <variant>

#include "test/plugin/sleep_recorder.h"
#include "test/support/source_fixture.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class DispatchTest : public PluginTest {};

const char* const kCommands[] = {"createTexture",   "loadModel",         "startRendering",   "stopRendering",
                                 "dispose",         "setCameraDistance", "setModelScale",    "setRotation",
                                 "setBaseRotation", "setQuaternion",     "setBaseQuaternion"};

// The commands that need a viewer before they look at their arguments, and what they say without one.
const char* const kNumberCommands[] = {"setCameraDistance", "setModelScale", "setRotation",
                                       "setBaseRotation",   "setQuaternion", "setBaseQuaternion"};

TEST_F(DispatchTest, RegistrationInstallsOneHandlerForTheChannelAndSaysSo) {
  EXPECT_EQ(out_.Take(), OrbiskLines({"Plugin initialized"}));
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("PluginRegistrarGetMessenger()", "RegistrarGetTextureRegistrar()",
                                                  "PluginRegistrarSetDestructionHandler(callback)",
                                                  "MessengerSetCallback(\"orbisk\", callback, user data)"));
}

TEST_F(DispatchTest, EveryCommandIsKnownByItsName) {
  for (const char* command : kCommands) EXPECT_NE(Call(command), "not implemented") << command;
}

TEST_F(DispatchTest, CreateTextureWithALowerCaseTIsNotImplementedAndNotLogged) {
  out_.Take();
  EXPECT_EQ(Call("createtexture", Size(64, 48)), "not implemented");
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), "");
  EXPECT_EQ(State(), nullptr);
}

TEST_F(DispatchTest, AnEmptyNameIsNotImplemented) { EXPECT_EQ(Call(""), "not implemented"); }

TEST_F(DispatchTest, NumberCommandsWithoutAViewerAnswerNotInitializedWhateverTheArguments) {
  const EncodableValue kArguments[] = {EncodableValue(), EncodableValue(EncodableList{1, 2}), Map({{"distance", 2}}),
                                       Map({{"distance", 2.0}}), QuaternionArguments(0, 0, 0, 1)};
  for (const char* command : kNumberCommands) {
    for (const EncodableValue& arguments : kArguments) {
      EXPECT_EQ(Call(command, arguments), "error NOT_INITIALIZED: Viewer state not initialized") << command;
    }
  }
}

TEST_F(DispatchTest, ArgumentsThatAreNoMapAnswerInvalidArgsAndAreNotLogged) {
  CreateViewer();
  for (const char* command : kNumberCommands) {
    for (const EncodableValue& arguments :
         {EncodableValue(), EncodableValue(EncodableList{1.0}), EncodableValue("distance"), EncodableValue(1.0)}) {
      EXPECT_EQ(Call(command, arguments), "error INVALID_ARGS: Arguments must be a map") << command;
    }
  }
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(DispatchTest, AMissingKeyAnswersTheCommandsOwnMessageAndStoresNothing) {
  CreateViewer();
  struct Row {
    const char* command;
    std::vector<const char*> keys;
    const char* message;
  };
  const Row kRows[] = {
      {"setCameraDistance", {"distance"}, "Missing 'distance' parameter"},
      {"setModelScale", {"scale"}, "Missing 'scale' parameter"},
      {"setRotation", {"roll", "pitch", "yaw"}, "Missing 'roll', 'pitch', or 'yaw' parameter"},
      {"setBaseRotation", {"roll", "pitch", "yaw"}, "Missing 'roll', 'pitch', or 'yaw' parameter"},
      {"setQuaternion", {"x", "y", "z", "w"}, "Missing quaternion components"},
      {"setBaseQuaternion", {"x", "y", "z", "w"}, "Missing quaternion components"},
  };
  for (const Row& row : kRows) {
    for (const char* left_out : row.keys) {
      // The wrong type of the other keys does not matter yet: all keys are looked for first.
      EncodableMap arguments = {{"X", 9.0}, {"Distance", 9.0}};
      for (const char* key : row.keys) {
        if (key != left_out) arguments[EncodableValue(key)] = EncodableValue(9);
      }
      EXPECT_EQ(Call(row.command, Map(arguments)), std::string("error INVALID_ARGS: ") + row.message)
          << row.command << " without " << left_out;
    }
  }
  EXPECT_EQ(Call("setQuaternion", Map({{"x", 1.0}})), "error INVALID_ARGS: Missing quaternion components");

  const OrbiskState untouched;
  EXPECT_EQ(State()->quat_x, untouched.quat_x);
  EXPECT_EQ(State()->quat_w, untouched.quat_w);
  EXPECT_EQ(State()->roll, untouched.roll);
  EXPECT_EQ(State()->base_roll, untouched.base_roll);
  EXPECT_EQ(State()->camera_distance, untouched.camera_distance);
  EXPECT_EQ(State()->model_scale, untouched.model_scale);
  EXPECT_EQ(out_.Take(), "");
  EXPECT_EQ(err_.Take(), "");
}

TEST_F(DispatchTest, AValueOfAnotherTypeIsNotConvertedButThrowsUnanswered) {
  CreateViewer();
  struct Row {
    const char* command;
    EncodableMap arguments;
  };
  const Row kRows[] = {
      {"setCameraDistance", {{"distance", 2}}},
      {"setCameraDistance", {{"distance", "2"}}},
      {"setModelScale", {{"scale", int64_t{2}}}},
      {"setRotation", {{"roll", 1.0}, {"pitch", 2}, {"yaw", 3.0}}},
      {"setBaseRotation", {{"roll", 1.0}, {"pitch", 2.0}, {"yaw", EncodableValue()}}},
      {"setQuaternion", {{"x", 1.0}, {"y", 0.0}, {"z", 0.0}, {"w", true}}},
      {"setBaseQuaternion", {{"x", 1}, {"y", 0.0}, {"z", 0.0}, {"w", 1.0}}},
      {"createTexture", {{"width", int64_t{64}}, {"height", 48}}},
      {"createTexture", {{"width", 64}, {"height", 48.0}}},
      {"loadModel", {{"modelPath", 5}}},
  };
  for (const Row& row : kRows) {
    err_.Take();
    EXPECT_THROW(Call(row.command, Map(row.arguments)), std::bad_variant_access) << row.command;
    EXPECT_FALSE(embedder_.last_reply().answered()) << row.command;
    EXPECT_EQ(err_.Take(), "Warning: Failed to respond to a message. This is a memory leak.\n") << row.command;
  }
  const OrbiskState untouched;
  EXPECT_EQ(State()->camera_distance, untouched.camera_distance);
  EXPECT_EQ(State()->quat_x, untouched.quat_x);
  EXPECT_EQ(State()->roll, untouched.roll);

  // The lock went with the exception.
  EXPECT_EQ(Call("setCameraDistance", Map({{"distance", 2.0}})), "success true");
}

TEST_F(DispatchTest, FurtherKeysAreIgnored) {
  CreateViewer();
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 2.0}, {"other", "thing"}, {7, EncodableList{1}}})), "success true");
}

TEST_F(DispatchTest, StopRenderingAndDisposeIgnoreTheirArguments) {
  const EncodableValue kArguments[] = {EncodableValue(), EncodableValue(EncodableList{1}), EncodableValue("text"),
                                       Map({{"width", 2.5}})};
  for (const char* command : {"stopRendering", "dispose"}) {
    out_.Take();
    EXPECT_EQ(Call(command), "success true");
    const std::string log = out_.Take();
    for (const EncodableValue& arguments : kArguments) {
      EXPECT_EQ(Call(command, arguments), "success true") << command;
      EXPECT_EQ(out_.Take(), log) << command;
    }
  }
}

TEST_F(DispatchTest, DestroyingThePluginWithoutATextureWritesTwoLinesAndDoesNotSleep) {
  out_.Take();
  const int sleeps_before = sleep_recorder::Begun(std::chrono::milliseconds(500));
  DestroyPlugin();
  EXPECT_EQ(out_.Take(), OrbiskLines({"Plugin destructor called", "Plugin destroyed"}));
  EXPECT_EQ(sleep_recorder::Begun(std::chrono::milliseconds(500)), sleeps_before);
}

TEST_F(DispatchTest, DestroyingThePluginStopsTheThreadUnregistersTheTextureAndWaitsForTheEngine) {
  const int64_t id = CreateViewer();
  ASSERT_EQ(Call("startRendering"), "success true");
  ASSERT_TRUE(WaitForFrames(id, 6)) << "after five, a frame that ends too late to be announced is not warned of";
  out_.Take();
  embedder_.ClearCalls();
  const int sleeps_before = sleep_recorder::Begun(std::chrono::milliseconds(500));

  DestroyPlugin();

  EXPECT_EQ(sleep_recorder::Begun(std::chrono::milliseconds(500)), sleeps_before + 1);
  EXPECT_THAT(embedder_.call_texts_without_marks(),
              ElementsAre("TextureRegistrarUnregisterExternalTexture(7, null, null)"));
  EXPECT_FALSE(embedder_.texture(id).registered);
  EXPECT_EQ(State(), nullptr);
  EXPECT_THAT(out_.Take(),
              ::testing::MatchesRegex("\\[Orbisk\\] Plugin destructor called\n"
                                      "\\[Orbisk\\] =+\n"
                                      "\\[Orbisk\\] Rendering thread STOPPED \\(rendered [0-9]+ frames\\)\n"
                                      "\\[Orbisk\\] =+\n"
                                      "\\[Orbisk\\] Destroying all resources...\n"
                                      "\\[Orbisk\\] Plugin destroyed\n"));
}

TEST_F(DispatchTest, DestroyingThePluginAfterDisposeUnregistersNothingMore) {
  CreateViewer();
  Call("dispose");
  embedder_.ClearCalls();
  DestroyPlugin();
  EXPECT_THAT(embedder_.call_texts(), IsEmpty());
}

}  // namespace
