// The built library on fake graphics libraries: what it calls, says and answers where something fails, compared as a
// whole. An engineer far away has nothing but these lines.

#include <stdexcept>
#include <variant>

#include "test/plugin/right_arguments.h"
#include "test/plugin/transcript_fixture.h"
#include "test/plugin/transcript_texts.h"

using commands::Argument;
using commands::Command;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace transcript;

namespace {

std::string OutLines(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += "out: [Orbisk] " + line + "\n";
  return text;
}

std::string OutBanner(const std::string& line) { return OutLines({kBar, line, kBar}); }

class FailureTranscriptTest : public TranscriptTest {
 protected:
  // How the fake embedder records the answer to the latest message.
  std::string AnswerTo(int message) const {
    const std::optional<fakes::Bytes> bytes = embedder_.last_reply().bytes();
    return "MessengerSendResponse(message " + std::to_string(message) + ", " +
           (bytes ? std::to_string(bytes->size()) + " bytes" : "null") + ")\n";
  }
};

// ---- Commands refused --------------------------------------------------------------------------------------

// What a command writes before it looks at its arguments.
std::string LinesAtFirst(const Command& command) {
  if (command.name == "createTexture") return OutBanner("CreateTexture called");
  if (command.name == "loadModel") return OutBanner("LoadModel called");
  if (command.name == "startRendering") return OutBanner("StartRendering called");
  return "";  // the commands that set numbers say nothing of what fails
}

class RefusedCommandTest : public FailureTranscriptTest, public ::testing::WithParamInterface<Command> {
 protected:
  void ExpectRefusal(const EncodableValue& arguments, const std::string& answer, const std::string& lines) {
    EXPECT_EQ(Call(GetParam().name, arguments), answer);
    EXPECT_EQ(TakePlatformTranscript(), LinesAtFirst(GetParam()) + lines + AnswerTo(++messages_));
  }

  /// One message.
  void CreateViewerIfNeeded() {
    if (!GetParam().needs_viewer()) return;
    CreateTexture(4, 2);
    TakePlatformTranscript();
    ++messages_;
  }

  int messages_ = 0;
};

class CommandThatNeedsAViewerTest : public RefusedCommandTest {};

TEST_P(CommandThatNeedsAViewerTest, WithoutOneSaysSoWhateverTheArguments) {
  const bool tells = !GetParam().takes_numbers();
  const std::string line = tells ? OutLines({"ERROR: Viewer state not initialized"}) : "";
  for (const EncodableValue& arguments :
       {EncodableValue(), EncodableValue(EncodableList{1}), Map({}), Map(RightArguments(GetParam()))}) {
    ExpectRefusal(arguments, GetParam().without_viewer_answer(), line);
  }
}

INSTANTIATE_TEST_SUITE_P(All, CommandThatNeedsAViewerTest, ::testing::ValuesIn(commands::ThatNeedAViewer()),
                         [](const auto& test) { return test.param.name; });

class CommandWithArgumentsTest : public RefusedCommandTest {};

TEST_P(CommandWithArgumentsTest, WithoutAMapSaysSo) {
  CreateViewerIfNeeded();
  const std::string line = GetParam().name == "loadModel" ? OutLines({"ERROR: Invalid arguments"}) : "";
  for (const EncodableValue& arguments :
       {EncodableValue(), EncodableValue(EncodableList{1.0}), EncodableValue("text"), EncodableValue(1.0)}) {
    ExpectRefusal(arguments, commands::kNoMapAnswer, line);
  }
}

TEST_P(CommandWithArgumentsTest, WithoutAKeySaysWhatIsMissing) {
  CreateViewerIfNeeded();
  const std::string line = GetParam().name == "loadModel" ? OutLines({"ERROR: Missing modelPath"}) : "";
  for (const Argument& left_out : GetParam().arguments) {
    SCOPED_TRACE("without " + left_out.key);
    // All keys are looked for before any value is looked at.
    EncodableMap arguments = {{"X", 9.0}, {"Width", 9}};
    for (const Argument& other : GetParam().arguments) {
      if (other.key != left_out.key) arguments[EncodableValue(other.key)] = EncodableValue();
    }
    ExpectRefusal(Map(arguments), GetParam().missing_answer(), line);
  }
}

TEST_P(CommandWithArgumentsTest, AValueOfAnotherTypeThrowsUnanswered) {
  CreateViewerIfNeeded();
  for (const Argument& wrong : GetParam().arguments) {
    for (const EncodableValue& value : {EncodableValue(), EncodableValue(true), EncodableValue(2),
                                        EncodableValue(int64_t{2}), EncodableValue(2.0), EncodableValue("2")}) {
      if (value.index() == RightValue(wrong).index()) continue;
      SCOPED_TRACE(wrong.key + " of type number " + std::to_string(value.index()));
      EncodableMap arguments = RightArguments(GetParam());
      arguments[EncodableValue(wrong.key)] = value;
      EXPECT_THROW(Call(GetParam().name, Map(arguments)), std::bad_variant_access);
      EXPECT_FALSE(embedder_.last_reply().answered());
      EXPECT_EQ(TakePlatformTranscript(), LinesAtFirst(GetParam()) + "err: " + kUnanswered);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, CommandWithArgumentsTest, ::testing::ValuesIn(commands::WithArguments()),
                         [](const auto& test) { return test.param.name; });

TEST_F(FailureTranscriptTest, ANameThatIsNoCommandIsNotImplementedAndNotLogged) {
  int message = 0;
  for (const char* name : {"createtexture", "CreateTexture", "createTexture ", ""}) {
    EXPECT_EQ(Call(name, Size(4, 2)), "not implemented");
    EXPECT_EQ(TakePlatformTranscript(), AnswerTo(++message)) << name;
  }
}

TEST_F(FailureTranscriptTest, StartRenderingWithoutAModelSaysSo) {
  CreateTexture(4, 2);
  TakePlatformTranscript();
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
  EXPECT_EQ(TakePlatformTranscript(),
            OutBanner("StartRendering called") + OutLines({"ERROR: No model loaded"}) + AnswerTo(2));
}

TEST_F(FailureTranscriptTest, StopRenderingAndDisposeWithNothingToDoAreNoFailure) {
  const EncodableValue ignored(EncodableList{1});
  EXPECT_EQ(Call("stopRendering", ignored), "success true");
  EXPECT_EQ(TakePlatformTranscript(), OutLines({"StopRendering called"}) + AnswerTo(1));
  EXPECT_EQ(Call("dispose", ignored), "success true");
  EXPECT_EQ(TakePlatformTranscript(), OutLines({"Dispose called", "No viewer state to dispose"}) + AnswerTo(2));
  CreateTexture(4, 2);
  TakePlatformTranscript();
  for (const int message : {4, 5}) {
    EXPECT_EQ(Call("stopRendering", ignored), "success true");
    EXPECT_EQ(TakePlatformTranscript(), OutLines({"StopRendering called", "Rendering stopped"}) + AnswerTo(message));
  }
}

// ---- Messages that are no commands -------------------------------------------------------------------------

TEST_F(FailureTranscriptTest, AMessageThatIsNoCallIsAnsweredWithNothing) {
  const fakes::Reply reply = embedder_.Deliver("orbisk", {3, 1, 0, 0, 0});
  EXPECT_EQ(AnswerText::Of(reply), "not implemented");
  EXPECT_EQ(TakePlatformTranscript(),
            "err: Invalid method call; method name is not a string.\n"
            "err: Unable to construct method call from message on channel orbisk\n"
            "MessengerSendResponse(message 1, null)\n");
}

TEST_F(FailureTranscriptTest, AnEmptyMessageIsNoCallEither) {
  EXPECT_EQ(AnswerText::Of(embedder_.Deliver("orbisk", {})), "not implemented");
  EXPECT_EQ(TakePlatformTranscript(),
            "err: Invalid read in StandardCodecByteStreamReader\n"
            "err: Invalid method call; method name is not a string.\n"
            "err: Unable to construct method call from message on channel orbisk\n"
            "MessengerSendResponse(message 1, null)\n");
}

TEST_F(FailureTranscriptTest, ACallWithoutArgumentBytesHasNullArguments) {
  fakes::Bytes message = Encode("setModelScale", EncodableValue());
  message.pop_back();
  embedder_.Deliver("orbisk", message);
  EXPECT_EQ(AnswerText::Of(embedder_.last_reply()), "error NOT_INITIALIZED: Viewer state not initialized");
  EXPECT_EQ(TakePlatformTranscript(), "err: Invalid read in StandardCodecByteStreamReader\n" + AnswerTo(1));
}

// ---- "createTexture" ---------------------------------------------------------------------------------------

TEST_F(FailureTranscriptTest, AFailedInitializeIsAnsweredAndItsRendererStaysUntilTheNextOne) {
  fake_graphics::FailCall("eglCreateContext");
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "error INIT_FAILED: Failed to initialize EGL renderer");
  const std::string whole = InitializeTranscript(1, 4, 2, ViewerWas::kNotThere);
  EXPECT_EQ(TakePlatformTranscript(),
            whole.substr(0, whole.find("eglCreateContext(")) +
                "eglCreateContext(display1, config1, EGL_NO_CONTEXT, {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE}) -> "
                "EGL_NO_CONTEXT\n"
                "err: [EGLRenderer] Failed to create EGL context\n" +
                OutLines({"ERROR: Failed to initialize EGL renderer"}) + AnswerTo(1));
  EXPECT_THAT(fake_graphics::Alive(), ElementsAre("display1", "surface1"));

  EXPECT_EQ(Call("createTexture", Size(4, 2)), "success 7");
  const std::string again = InitializeTranscript(2, 4, 2, ViewerWas::kThere,
                                                 "eglDestroySurface(display1, surface1) -> EGL_TRUE\n"
                                                 "eglTerminate(display1) -> EGL_TRUE\n");
  EXPECT_THAT(TakePlatformTranscript(), StartsWith(again.substr(0, again.find("eglCreateContext("))));
}

TEST_F(FailureTranscriptTest, AFailedShaderIsAnsweredWithTheContextStillCurrent) {
  fake_graphics::FailCompile("0:3: no such thing");
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "error SHADER_FAILED: Failed to load shaders");
  EXPECT_THAT(TakePlatformTranscript(), EndsWith("glCompileShader(4)\n"
                                                 "glGetShaderiv(4, GL_COMPILE_STATUS) -> 0\n"
                                                 "glGetShaderiv(4, GL_INFO_LOG_LENGTH) -> 19\n"
                                                 "glGetShaderInfoLog(4, 19, null) -> \"0:3: no such thing\"\n"
                                                 "err: [EGLRenderer] Shader compile error:\n0:3: no such thing\n"
                                                 "err: [EGLRenderer] Failed to compile vertex shader\n" +
                                                 OutLines({"ERROR: Failed to load shaders"}) + AnswerTo(1)));
  EXPECT_EQ(fake_graphics::CurrentContext(), "context1");
}

TEST_F(FailureTranscriptTest, AFailedViewerStillTakesCommandsAndIsDisposed) {
  fake_graphics::FailCall("eglInitialize");
  Call("createTexture", Size(4, 2));
  TakePlatformTranscript();
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 2.0}})), "success true");
  EXPECT_EQ(TakePlatformTranscript(), OutLines({"Model scale set to: 2"}) + AnswerTo(2));
  EXPECT_EQ(Call("dispose"), "success true");
  EXPECT_EQ(TakePlatformTranscript(),
            OutLines({"Dispose called", "Setting disposal flag...", "Stopping rendering thread...",
                      "Rendering thread stopped", "Cleaning up pixel buffer...", "Cleaning up EGL resources..."}) +
                "eglMakeCurrent(display1, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT) -> EGL_TRUE\n"
                "eglTerminate(display1) -> EGL_TRUE\n" +
                OutLines({"Cleaning up model data...", "Disposed (state and texture kept alive for safety)"}) +
                AnswerTo(3));
}

TEST_F(FailureTranscriptTest, ARefusedTextureIsAnsweredWithMinusOneAndNeverUnregistered) {
  embedder_.RefuseTextures(true);
  EXPECT_EQ(Call("createTexture", Size(4, 2)), "success -1");
  EXPECT_THAT(TakePlatformTranscript(), EndsWith(RegisterTranscript(-1, 1)));
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  DestroyPlugin();
  EXPECT_EQ(CountOf(TakePlatformTranscript(), "TextureRegistrarUnregister"), 0);
}

// ---- "dispose" ---------------------------------------------------------------------------------------------

TEST_F(FailureTranscriptTest, ADisposedViewerHandsOutNoFrameAndIsDisposedAgainWithoutHarm) {
  const int64_t id = CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  fake_graphics::ClearCalls();
  EXPECT_EQ(Fetch(id), nullptr);
  EXPECT_EQ(TakePlatformTranscript(), "");
  EXPECT_EQ(Call("dispose"), "success true");
  EXPECT_EQ(TakePlatformTranscript(),
            OutLines({"Dispose called", "Setting disposal flag...", "Stopping rendering thread...",
                      "Rendering thread stopped", "Cleaning up pixel buffer...", "Cleaning up EGL resources...",
                      "Cleaning up model data...", "Disposed (state and texture kept alive for safety)"}) +
                AnswerTo(4));
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
  DestroyPlugin();
}

TEST_F(FailureTranscriptTest, AThreadStartedOnADisposedViewerEndsAtOnce) {
  CreateViewer();
  const fake_graphics::Allowance allowance(fake_graphics::CleanupDeletions());
  Call("dispose");
  EXPECT_EQ(Call("loadModel", Map({{"modelPath", folder_.PathOf("model.glb")}})), "success true");
  fake_graphics::ClearCalls();
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_EQ(RenderTranscript(), OutBanner("Rendering thread STARTED") + With(kThreadStop, {{"count", "0"}}));
}

// ---- "loadModel" -------------------------------------------------------------------------------------------

std::string LoadAttempts(const std::string& path, const std::vector<std::string>& candidates) {
  std::string text =
      OutBanner("LoadModel called") + OutLines({"Model path (original): " + path, "Loading GLB model..."});
  for (const std::string& candidate : candidates) text += OutLines({"Trying path: " + candidate});
  return text;
}

std::string LoadFailure(const std::vector<std::string>& candidates, const std::string& loader_log) {
  std::string text = "err: [Orbisk] ERROR: Failed to load model from any path\nerr: [Orbisk] Tried paths:\n";
  for (const std::string& candidate : candidates) text += "err: [Orbisk]   - " + candidate + "\n";
  return text + "err: [Orbisk] GLB loader log: " + loader_log + "\n";
}

TEST_F(FailureTranscriptTest, AModelFoundUnderNeitherPathIsToldOnTheErrorStream) {
  CreateTexture(4, 2);
  TakePlatformTranscript();
  const std::vector<std::string> candidates = {"no/such.glb", "data/flutter_assets/no/such.glb"};
  EXPECT_EQ(Call("loadModel", Map({{"modelPath", "no/such.glb"}})),
            "error LOAD_FAILED: Failed to load model: fail: read file\nfail: read file\n");
  EXPECT_EQ(TakePlatformTranscript(), LoadAttempts("no/such.glb", candidates) +
                                          LoadFailure(candidates, "fail: read file\nfail: read file\n") + AnswerTo(2));
}

TEST_F(FailureTranscriptTest, ABrokenModelIsToldAndTheOneBeforeIsGone) {
  CreateViewer();
  const std::string path = folder_.Write("broken.glb", glb_builder::Glb().Version(1).Build());
  const std::vector<std::string> candidates = {path, "data/flutter_assets/" + path};
  EXPECT_EQ(Call("loadModel", Map({{"modelPath", path}})),
            "error LOAD_FAILED: Failed to load model: fail: magic/version\nfail: read file\n");
  EXPECT_EQ(
      TakePlatformTranscript(),
      LoadAttempts(path, candidates) + LoadFailure(candidates, "fail: magic/version\nfail: read file\n") + AnswerTo(3));
  EXPECT_EQ(Call("startRendering"), "error NO_MODEL: Model not loaded");
}

TEST_F(FailureTranscriptTest, AModelThatReachesOutsideItsDataIsToldMeshByMesh) {
  CreateTexture(4, 2);
  TakePlatformTranscript();
  glb_builder::Glb glb = TwoMeshes();
  const std::string path = folder_.Write("short.glb", glb.Bin({}).Build());
  const std::vector<std::string> candidates = {path, "data/flutter_assets/" + path};
  const std::string answer = Call("loadModel", Map({{"modelPath", path}}));
  const std::string before = "error LOAD_FAILED: Failed to load model: ";
  ASSERT_EQ(answer.substr(0, before.size()), before);
  EXPECT_EQ(TakePlatformTranscript(),
            LoadAttempts(path, candidates) + LoadFailure(candidates, answer.substr(before.size())) + AnswerTo(2));
}

TEST_F(FailureTranscriptTest, ANumberOutOfRangeInTheModelLeavesTheCommandUnansweredAndTheViewerUsable) {
  CreateViewer();
  const std::string path =
      folder_.Write("number.glb", glb_builder::Glb()
                                      .Json(R"({"meshes":[{"primitives":[{"attributes":{"POSITION":)"
                                            R"(99999999999999999999}}]}]})")
                                      .Bin({0, 0, 0, 0})
                                      .Build());
  EXPECT_THROW(Call("loadModel", Map({{"modelPath", path}})), std::out_of_range);
  EXPECT_FALSE(embedder_.last_reply().answered());
  EXPECT_EQ(TakePlatformTranscript(), LoadAttempts(path, {path}) + "err: " + kUnanswered);
  EXPECT_EQ(Call("setModelScale", Map({{"scale", 2.0}})), "success true") << "the lock is free";
}

// ---- The render thread -------------------------------------------------------------------------------------

TEST_F(FailureTranscriptTest, AContextThatCannotBeMadeCurrentEndsTheThreadAndOnlyItTells) {
  CreateViewer();
  fake_graphics::FailCall("eglMakeCurrent");
  EXPECT_EQ(Call("startRendering"), "success true");
  EXPECT_EQ(Call("stopRendering"), "success true");
  EXPECT_EQ(RenderTranscript(), OutBanner("Rendering thread STARTED") +
                                    "eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_FALSE\n"
                                    "err: [EGLRenderer] Failed to make context current\n"
                                    "err: [Orbisk] ERROR: Failed to make EGL context current in rendering thread!\n");
  EXPECT_EQ(TakePlatformTranscript(), With(kStart, {{"id", "7"}, {"message", "3"}}) +
                                          OutLines({"StopRendering called", "Rendering stopped"}) + AnswerTo(4));
}

TEST_F(FailureTranscriptTest, GlErrorsAreReportedInTheirFrameAndStopNothing) {
  Fetch(CreateViewer());
  fake_graphics::FailCall("glDrawElements");
  fake_graphics::FailCall("glReadPixels");
  StartAndHoldTheFirstFrame();
  const std::string failing_frame = RenderTranscript();
  EXPECT_THAT(failing_frame, HasSubstr("glGetError() -> GL_INVALID_OPERATION\n"
                                       "err: [EGLRenderer] GL error: 0x502\n"
                                       "glDisableVertexAttribArray(2)\n"));
  EXPECT_THAT(failing_frame, EndsWith("glGetError() -> GL_INVALID_OPERATION\n"
                                      "err: [EGLRenderer] readPixels: glReadPixels error: 0x502\n"
                                      "TextureRegistrarMarkExternalTextureFrameAvailable(7)\n"));
  EXPECT_EQ(CountOf(failing_frame, "err: "), 2);
  fake_graphics::ClearCalls();
  gate_.LetOn(1);
  gate_.WaitForFrame(2);
  EXPECT_EQ(CountOf(RenderTranscript(), "err: "), 0);
  EXPECT_EQ(CountOf(RenderTranscript(), "glDrawElements("), 2);
  gate_.Open();
  Call("stopRendering");
}

// A renderer that is replaced while the thread runs is drawn with the context that the thread has: none, once the
// first renderer has taken it along.
TEST_F(FailureTranscriptTest, AReplacedRendererIsDrawnWithoutItsContextUntilTheNextStart) {
  CreateViewer();
  StartAndHoldTheFirstFrame();
  std::vector<std::string> allowed = fake_graphics::CleanupDeletions();
  for (const std::string& call : fake_graphics::FrameCalls()) allowed.push_back(call);
  {
    const fake_graphics::Allowance allowance(allowed);
    CreateTexture(6, 4);
    fake_graphics::ClearCalls();
    gate_.LetOn(1);
    gate_.WaitForFrame(2);
    EXPECT_EQ(CountOf(RenderTranscript(), "eglMakeCurrent"), 0);
    EXPECT_EQ(CountOf(RenderTranscript(), "TextureRegistrarMarkExternalTextureFrameAvailable(8)"), 1);
    gate_.Open();
    Call("stopRendering");
  }
  fake_graphics::ClearCalls();
  StartAndHoldTheFirstFrame();
  EXPECT_THAT(RenderTranscript(), StartsWith(With(kThreadStart, Names(2, 6, 4))));
  gate_.Open();
  Call("stopRendering");
}

}  // namespace
