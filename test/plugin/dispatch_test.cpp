// Registration, dispatch by name, and the end of the plug-in. What each command says of bad arguments is in
// failure_transcript_test.cpp; here, that it then leaves the viewer as it is.

#include <variant>

#include "test/plugin/right_arguments.h"
#include "test/plugin/sleep_recorder.h"
#include "test/support/source_fixture.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class DispatchTest : public PluginTest {};

TEST_F(DispatchTest, RegistrationInstallsOneHandlerForTheChannelAndSaysSo) {
  EXPECT_EQ(out_.Take(), OrbiskLines({"Plugin initialized"}));
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("PluginRegistrarGetMessenger()", "RegistrarGetTextureRegistrar()",
                                                  "PluginRegistrarSetDestructionHandler(callback)",
                                                  "MessengerSetCallback(\"orbisk\", callback, user data)"));
}

TEST_F(DispatchTest, EveryCommandIsKnownByItsName) {
  for (const commands::Command& command : commands::All()) EXPECT_NE(Call(command.name), "not implemented");
}

TEST_F(DispatchTest, WhatIsRefusedBeforeTheFirstTextureMakesNoViewer) {
  Call("createtexture", Size(64, 48));
  Call("createTexture");
  Call("createTexture", Map({{"width", 64}}));
  EXPECT_THROW(Call("createTexture", Map({{"width", 64}, {"height", 48.0}})), std::bad_variant_access);
  EXPECT_EQ(State(), nullptr);
}

TEST_F(DispatchTest, NumbersWithOneMissingOrOfAnotherTypeAreNotStored) {
  CreateViewer();
  for (const commands::Command& command : commands::ThatTakeNumbers()) {
    for (const commands::Argument& odd : command.arguments) {
      EncodableMap arguments = RightArguments(command);
      arguments.erase(EncodableValue(odd.key));
      EXPECT_EQ(Call(command.name, Map(arguments)), command.missing_answer());
      arguments[EncodableValue(odd.key)] = EncodableValue(9);
      EXPECT_THROW(Call(command.name, Map(arguments)), std::bad_variant_access);
      // The lock went with the exception.
      EXPECT_FALSE(IsLocked(State()->mutex)) << command.name;
    }
  }
  const OrbiskState untouched;
  EXPECT_EQ(State()->quat_x, untouched.quat_x);
  EXPECT_EQ(State()->quat_w, untouched.quat_w);
  EXPECT_EQ(State()->roll, untouched.roll);
  EXPECT_EQ(State()->base_roll, untouched.base_roll);
  EXPECT_EQ(State()->camera_distance, untouched.camera_distance);
  EXPECT_EQ(State()->model_scale, untouched.model_scale);
}

TEST_F(DispatchTest, FurtherKeysAreIgnored) {
  CreateViewer();
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 2.0}, {"other", "thing"}, {7, EncodableList{1}}})), "success true");
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
  ASSERT_TRUE(WaitForFrames(id, 1));
  embedder_.ClearCalls();
  const int sleeps_before = sleep_recorder::Begun(std::chrono::milliseconds(500));

  DestroyPlugin();

  EXPECT_EQ(sleep_recorder::Begun(std::chrono::milliseconds(500)), sleeps_before + 1);
  EXPECT_THAT(embedder_.call_texts_without_marks(),
              ElementsAre("TextureRegistrarUnregisterExternalTexture(7, null, null)"));
  EXPECT_FALSE(embedder_.texture(id).registered);
  EXPECT_EQ(State(), nullptr);
}

TEST_F(DispatchTest, DestroyingThePluginAfterDisposeUnregistersNothingMore) {
  CreateViewer();
  Call("dispose");
  embedder_.ClearCalls();
  DestroyPlugin();
  EXPECT_THAT(embedder_.call_texts(), IsEmpty());
}

}  // namespace
