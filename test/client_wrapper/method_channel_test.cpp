// Method calls on a channel, from the engine to the handler and back.

#include "flutter/method_channel.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "embedder_test.h"
#include "flutter/plugin_registrar.h"
#include "flutter/standard_method_codec.h"
#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const Bytes kCallGo = {7, 2, 'g', 'o', 7, 3, 'f', 'a', 'r'};
const Bytes kSuccess = {0, 0};

class MethodChannelTest : public EmbedderTest {
 protected:
  /// A handler that succeeds, and notes what was called: "go far".
  MethodCallHandler<> SucceedAndNote() {
    return [this](const MethodCall<>& call, std::unique_ptr<MethodResult<>> result) {
      calls_.push_back(call.method_name() + ' ' + std::get<std::string>(*call.arguments()));
      result->Success();
    };
  }

  PluginRegistrar registrar_{embedder_.registrar()};
  MethodChannel<> channel_{registrar_.messenger(), "down", &StandardMethodCodec::GetInstance()};
  std::vector<std::string> calls_;
};

TEST_F(MethodChannelTest, CallReachesTheHandlerAndItsAnswerTheSender) {
  channel_.SetMethodCallHandler(SucceedAndNote());
  EXPECT_EQ(embedder_.Deliver("down", kCallGo).bytes(), kSuccess);
  EXPECT_THAT(calls_, ElementsAre("go far"));
}

TEST_F(MethodChannelTest, ErrorReachesTheSender) {
  channel_.SetMethodCallHandler(
      [](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { result->Error("E", "m"); });
  EXPECT_EQ(embedder_.Deliver("down", kCallGo).bytes(), (Bytes{1, 7, 1, 'E', 7, 1, 'm', 0}));
}

TEST_F(MethodChannelTest, NotImplementedReachesTheSenderAsAReplyOfNoBytes) {
  channel_.SetMethodCallHandler(
      [](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { result->NotImplemented(); });
  const fakes::Reply reply = embedder_.Deliver("down", kCallGo);
  EXPECT_TRUE(reply.answered());
  EXPECT_EQ(reply.bytes(), std::nullopt);
}

TEST_F(MethodChannelTest, UndecodableCallGetsAnEmptyReplyTwoLinesAndNoHandler) {
  channel_.SetMethodCallHandler(SucceedAndNote());
  EXPECT_EQ(StderrOf([&] {
              embedder_.Deliver("down", {3, 1, 0, 0, 0, 0});
            }),
            "Invalid method call; method name is not a string.\n"
            "Unable to construct method call from message on channel down\n");
  EXPECT_TRUE(embedder_.last_reply().answered());
  EXPECT_EQ(embedder_.last_reply().bytes(), std::nullopt);
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(MethodChannelTest, EmptyMessageIsAnUndecodableCall) {
  channel_.SetMethodCallHandler(SucceedAndNote());
  EXPECT_EQ(StderrOf([&] { embedder_.Deliver("down", {}); }),
            "Invalid read in StandardCodecByteStreamReader\n"
            "Invalid method call; method name is not a string.\n"
            "Unable to construct method call from message on channel down\n");
  EXPECT_TRUE(embedder_.last_reply().answered());
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(MethodChannelTest, HandlerStaysInstalledWithoutTheChannel) {
  {
    const MethodChannel<> passing(registrar_.messenger(), "a channel with a name too long for the string itself",
                                  &StandardMethodCodec::GetInstance());
    passing.SetMethodCallHandler(SucceedAndNote());
  }
  const std::string name = "a channel with a name too long for the string itself";
  EXPECT_EQ(embedder_.Deliver(name, kCallGo).bytes(), kSuccess);
  EXPECT_THAT(calls_, ElementsAre("go far"));
  EXPECT_EQ(StderrOf([&] { embedder_.Deliver(name, {0}); }),
            "Invalid method call; method name is not a string.\n"
            "Unable to construct method call from message on channel " +
                name + "\n");
}

TEST_F(MethodChannelTest, EmptyHandlerRemovesTheHandler) {
  channel_.SetMethodCallHandler(SucceedAndNote());
  embedder_.ClearCalls();
  channel_.SetMethodCallHandler(nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", null, null)"));
  EXPECT_FALSE(embedder_.Deliver("down", kCallGo).delivered());
  EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(MethodChannelTest, EmptyHandlerWhereThereIsNoneOnlyAsksForTheRemoval) {
  embedder_.ClearCalls();
  channel_.SetMethodCallHandler({});
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", null, null)"));
}

TEST_F(MethodChannelTest, LaterHandlerReplacesTheEarlierOne) {
  channel_.SetMethodCallHandler(
      [](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { result->NotImplemented(); });
  channel_.SetMethodCallHandler(SucceedAndNote());
  EXPECT_EQ(embedder_.Deliver("down", kCallGo).bytes(), kSuccess);
}

TEST_F(MethodChannelTest, ChannelsOfDifferentNamesStayApart) {
  const MethodChannel<> other(registrar_.messenger(), "other", &StandardMethodCodec::GetInstance());
  channel_.SetMethodCallHandler(SucceedAndNote());
  other.SetMethodCallHandler(
      [](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { result->Error("OTHER"); });
  EXPECT_EQ(embedder_.Deliver("down", kCallGo).bytes(), kSuccess);
  EXPECT_EQ(embedder_.Deliver("other", kCallGo).bytes(), (Bytes{1, 7, 5, 'O', 'T', 'H', 'E', 'R', 0, 0}));
}

TEST_F(MethodChannelTest, HandlerMayAnswerLater) {
  std::unique_ptr<MethodResult<>> kept;
  channel_.SetMethodCallHandler(
      [&](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { kept = std::move(result); });
  const fakes::Reply reply = embedder_.Deliver("down", kCallGo);
  EXPECT_FALSE(reply.answered());
  kept->Success(EncodableValue(true));
  EXPECT_EQ(reply.bytes(), (Bytes{0, 1}));
}

TEST_F(MethodChannelTest, HandlerThatSucceedsTwiceRepliesOnceAndLogsOneLine) {
  channel_.SetMethodCallHandler([](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) {
    result->Success();
    result->Success(EncodableValue(true));
  });
  embedder_.ClearCalls();
  EXPECT_EQ(StderrOf([&] { embedder_.Deliver("down", kCallGo); }),
            "Error: Only one of Success, Error, or NotImplemented can be called, and it can be called "
            "exactly once. "
            "Ignoring duplicate result.\n");
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSendResponse(message 1, 2 bytes)"));
  EXPECT_EQ(embedder_.last_reply().bytes(), kSuccess);
}

TEST_F(MethodChannelTest, HandlerThatKeepsAndDropsTheResultLogsTheWarningAndRepliesNothing) {
  std::unique_ptr<MethodResult<>> kept;
  channel_.SetMethodCallHandler(
      [&](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) { kept = std::move(result); });
  EXPECT_EQ(StderrOf([&] { embedder_.Deliver("down", kCallGo); }), "");
  EXPECT_EQ(StderrOf([&] { kept = nullptr; }), "Warning: Failed to respond to a message. This is a memory leak.\n");
  EXPECT_FALSE(embedder_.last_reply().answered());
}

TEST_F(MethodChannelTest, ExceptionOfAHandlerLeavesWithTheWarning) {
  channel_.SetMethodCallHandler([](const MethodCall<>& call, std::unique_ptr<MethodResult<>> result) {
    result->Success(EncodableValue(std::get<bool>(*call.arguments())));
  });
  EXPECT_EQ(StderrOf([&] { EXPECT_THROW(embedder_.Deliver("down", kCallGo), std::bad_variant_access); }),
            "Warning: Failed to respond to a message. This is a memory leak.\n");
  EXPECT_FALSE(embedder_.last_reply().answered());
}

TEST_F(MethodChannelTest, HandlerMayRemoveItselfBeforeItAnswers) {
  const std::string answer = "long enough to lie on the heap, with the handler that owns it";
  channel_.SetMethodCallHandler([this, answer](const MethodCall<>&, std::unique_ptr<MethodResult<>> result) {
    channel_.SetMethodCallHandler(nullptr);
    result->Success(EncodableValue(answer));
  });
  const EncodableValue expected(answer);
  EXPECT_EQ(embedder_.Deliver("down", kCallGo).bytes(),
            *StandardMethodCodec::GetInstance().EncodeSuccessEnvelope(&expected));
  EXPECT_FALSE(embedder_.Deliver("down", kCallGo).delivered());
}

}  // namespace
}  // namespace client_wrapper_test
