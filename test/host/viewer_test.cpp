// The viewer's commands, as the plug-in gets them, and what its answers come to.

#include "host/viewer.h"

#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>
#include <vector>

#include "flutter/standard_method_codec.h"

namespace host {
namespace {

using flutter::EncodableMap;
using flutter::EncodableValue;
using flutter::StandardMethodCodec;
using Bytes = std::vector<uint8_t>;

// Plays the plug-in: notes each call, and answers `answer`.
class ViewerTest : public ::testing::Test {
 protected:
  ViewerTest() {
    FlutterDesktopMessengerSetCallback(
        FlutterDesktopPluginRegistrarGetMessenger(embedder_.registrar()), "orbisk",
        [](FlutterDesktopMessengerRef messenger, const FlutterDesktopMessage* message, void* user_data) {
          auto& test = *static_cast<ViewerTest*>(user_data);
          const auto call =
              StandardMethodCodec::GetInstance().DecodeMethodCall(message->message, message->message_size);
          ASSERT_NE(call, nullptr);
          test.method_ = call->method_name();
          test.arguments_ = *call->arguments();
          if (test.throws_) throw std::bad_variant_access();
          if (!test.answer_) return;
          FlutterDesktopMessengerSendResponse(messenger, message->response_handle, test.answer_->data(),
                                              test.answer_->size());
        },
        this);
    AnswerWith(true);
  }

  void AnswerWith(const EncodableValue& value) {
    answer_ = *StandardMethodCodec::GetInstance().EncodeSuccessEnvelope(&value);
  }
  void AnswerWithError(const std::string& code, const std::string& message) {
    answer_ = *StandardMethodCodec::GetInstance().EncodeErrorEnvelope(code, message);
  }
  std::string FailureOf(const std::function<void()>& command) {
    try {
      command();
    } catch (const CommandError& error) {
      code_ = error.code();
      message_ = error.message();
      return error.what();
    }
    return "no failure";
  }

  Embedder embedder_{[](std::shared_ptr<const Frame>) {}};
  Viewer viewer_{embedder_};
  std::optional<Bytes> answer_;
  bool throws_ = false;
  std::string method_;
  EncodableValue arguments_;
  std::string code_;
  std::string message_;
};

TEST_F(ViewerTest, CreateTextureSendsIntegersAndReturnsTheIdentifier) {
  AnswerWith(int64_t{7000000000});
  EXPECT_EQ(viewer_.CreateTexture(640, 480), 7000000000);
  EXPECT_EQ(method_, "createTexture");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"width", int32_t{640}}, {"height", int32_t{480}}}));
}

TEST_F(ViewerTest, CommandsWithoutArgumentsSendNone) {
  viewer_.StartRendering();
  EXPECT_EQ(method_, "startRendering");
  EXPECT_TRUE(arguments_.IsNull());
  viewer_.StopRendering();
  EXPECT_EQ(method_, "stopRendering");
  viewer_.Dispose();
  EXPECT_EQ(method_, "dispose");
  EXPECT_EQ(viewer_.commands_sent(), 3u);
}

TEST_F(ViewerTest, NumbersAreSentAsDoublesAlsoWhereTheyAreWhole) {
  viewer_.SetCameraDistance(3);
  EXPECT_EQ(method_, "setCameraDistance");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"distance", 3.0}}));
  viewer_.SetModelScale(2);
  EXPECT_EQ(method_, "setModelScale");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"scale", 2.0}}));
  viewer_.SetBaseRotation({1, 2, 3});
  EXPECT_EQ(method_, "setBaseRotation");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"roll", 1.0}, {"pitch", 2.0}, {"yaw", 3.0}}));
}

TEST_F(ViewerTest, OrientationIsSentInTheFormItHas) {
  viewer_.SetOrientation(Quaternion{0, 1, 2, 3});
  EXPECT_EQ(method_, "setQuaternion");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"x", 0.0}, {"y", 1.0}, {"z", 2.0}, {"w", 3.0}}));
  viewer_.SetOrientation(Angles{4, 5, 6});
  EXPECT_EQ(method_, "setRotation");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"roll", 4.0}, {"pitch", 5.0}, {"yaw", 6.0}}));
  EXPECT_EQ(viewer_.orientation_latency().count(), 2u);
}

TEST_F(ViewerTest, LatencyOfOtherCommandsIsKeptApart) {
  viewer_.LoadModel("device.glb");
  EXPECT_EQ(arguments_, EncodableValue(EncodableMap{{"modelPath", "device.glb"}}));
  EXPECT_EQ(viewer_.orientation_latency().count(), 0u);
  EXPECT_GT(viewer_.last_latency().count(), 0);
}

TEST_F(ViewerTest, ErrorEnvelopeBecomesACommandError) {
  AnswerWithError("NO_MODEL", "Model not loaded");
  EXPECT_EQ(FailureOf([&] { viewer_.StartRendering(); }), "startRendering failed: NO_MODEL: Model not loaded");
  EXPECT_EQ(code_, "NO_MODEL");
  EXPECT_EQ(message_, "Model not loaded");
}

TEST_F(ViewerTest, MessageOfSeveralLinesIsPutIntoOne) {
  AnswerWithError("LOAD_FAILED", "Failed to load model: fail: read file\nfail: read file\n");
  EXPECT_EQ(FailureOf([&] { viewer_.LoadModel("x"); }),
            "loadModel failed: LOAD_FAILED: Failed to load model: fail: read file; fail: read file");
}

TEST_F(ViewerTest, MissingAnswerIsAFailure) {
  answer_.reset();
  EXPECT_EQ(FailureOf([&] { viewer_.Dispose(); }), "dispose failed: the plug-in gave no answer");
  EXPECT_EQ(code_, "");
}

TEST_F(ViewerTest, EmptyAnswerMeansNotImplemented) {
  answer_ = Bytes();
  EXPECT_EQ(FailureOf([&] { viewer_.Dispose(); }), "dispose failed: the plug-in does not implement it");
}

TEST_F(ViewerTest, AnswerOfTheWrongTypeIsAFailure) {
  AnswerWith(int32_t{7});
  EXPECT_EQ(FailureOf([&] { viewer_.CreateTexture(1, 1); }), "createTexture failed: the answer is no 64-bit integer");
  EXPECT_EQ(FailureOf([&] { viewer_.Dispose(); }), "dispose failed: the answer is not true");
  AnswerWith(false);
  EXPECT_EQ(FailureOf([&] { viewer_.Dispose(); }), "dispose failed: the answer is not true");
}

TEST_F(ViewerTest, ErrorEnvelopeWithoutACodeIsAFailure) {
  answer_ = Bytes{1, 0, 0, 0};
  EXPECT_EQ(FailureOf([&] { viewer_.Dispose(); }), "dispose failed: the plug-in's answer cannot be decoded");
}

TEST_F(ViewerTest, ExceptionOfThePluginBecomesACommandError) {
  throws_ = true;
  EXPECT_EQ(FailureOf([&] { viewer_.SetCameraDistance(1); }),
            "setCameraDistance failed: an exception left the plug-in's handler: bad variant access");
}

}  // namespace
}  // namespace host
