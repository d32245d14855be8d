// Messages to and from the engine, and their replies, on the fake embedder.

#include "flutter/binary_messenger.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

#include "client_wrapper/binary_messenger_impl.h"
#include "embedder_test.h"
#include "message_bytes.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kDuplicateResponse[] = "Error: Response can be set only once. Ignoring duplicate response.\n";

class BinaryMessengerTest : public EmbedderTest {
 protected:
  BinaryMessengerTest() { embedder_.ClearCalls(); }

  /// A handler that answers every message with `byte` followed by the message.
  static BinaryMessageHandler AnswerWith(uint8_t byte) {
    return [byte](const uint8_t* message, size_t size, const BinaryReply& reply) {
      const Bytes answer = Join({{byte}, Bytes(message, message + size)});
      reply(answer.data(), answer.size());
    };
  }

  /// A handler that stores its reply for later.
  BinaryMessageHandler KeepReply() {
    return [this](const uint8_t*, size_t, BinaryReply reply) { kept_reply_ = std::move(reply); };
  }

  BinaryMessengerImpl over_the_embedder_{FlutterDesktopPluginRegistrarGetMessenger(embedder_.registrar())};
  BinaryMessenger& messenger_ = over_the_embedder_;
  BinaryReply kept_reply_;
};

// ---- Sending ------------------------------------------------------------------------------------

TEST_F(BinaryMessengerTest, SendWithoutAReplyCallbackAsksForNoReply) {
  const Bytes message = {1, 2};
  messenger_.Send("up", message.data(), message.size());
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSend(\"up\", 2 bytes)"));
  EXPECT_EQ(embedder_.sent_messages().at(0).bytes, message);
}

TEST_F(BinaryMessengerTest, SendOfNoBytesPassesTheNullPointerOn) {
  messenger_.Send("up", nullptr, 0, nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSend(\"up\", null)"));
}

TEST_F(BinaryMessengerTest, SendWithAReplyCallbackHandsItTheReply) {
  const Bytes message = {1, 2, 3};
  std::vector<Bytes> replies;
  messenger_.Send("up", message.data(), message.size(),
                  [&](const uint8_t* reply, size_t size) { replies.emplace_back(reply, reply + size); });
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSendWithReply(\"up\", 3 bytes)"));
  EXPECT_EQ(embedder_.sent_messages().at(0).bytes, message);
  EXPECT_THAT(replies, IsEmpty());

  embedder_.ReplyToSent(0, Bytes{7, 8});
  EXPECT_THAT(replies, ElementsAre(Bytes{7, 8}));
}

TEST_F(BinaryMessengerTest, ReplyOfNoBytesReachesTheCallbackAsANullPointer) {
  std::optional<bool> null_data;
  messenger_.Send("up", nullptr, 0,
                  [&](const uint8_t* reply, size_t size) { null_data = reply == nullptr && size == 0; });
  embedder_.ReplyToSent(0, std::nullopt);
  EXPECT_EQ(null_data, true);
}

TEST_F(BinaryMessengerTest, ReplyCallbackLivesUntilItHasBeenCalled) {
  auto token = std::make_shared<int>();
  messenger_.Send("up", nullptr, 0, [token](const uint8_t*, size_t) { EXPECT_GE(token.use_count(), 2); });
  EXPECT_EQ(token.use_count(), 2);
  embedder_.ReplyToSent(0, Bytes{});
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(BinaryMessengerTest, RepliesReachTheirOwnCallbacksInAnyOrder) {
  std::string order;
  messenger_.Send("up", nullptr, 0, [&](const uint8_t*, size_t) { order += "first "; });
  messenger_.Send("up", nullptr, 0, [&](const uint8_t*, size_t) { order += "second "; });
  embedder_.ReplyToSent(1, std::nullopt);
  embedder_.ReplyToSent(0, std::nullopt);
  EXPECT_EQ(order, "second first ");
}

// ---- Receiving ----------------------------------------------------------------------------------

TEST_F(BinaryMessengerTest, HandlerIsSetWithACallbackAndUserData) {
  messenger_.SetMessageHandler("down", AnswerWith(1));
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", callback, user data)"));
}

TEST_F(BinaryMessengerTest, MessageReachesTheHandlerAndItsReplyTheEmbedder) {
  messenger_.SetMessageHandler("down", AnswerWith(9));
  embedder_.ClearCalls();
  const fakes::Reply reply = embedder_.Deliver("down", {1, 2});
  EXPECT_EQ(reply.bytes(), (Bytes{9, 1, 2}));
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSendResponse(message 1, 3 bytes)"));
}

TEST_F(BinaryMessengerTest, MessageOfNoBytesReachesTheHandler) {
  messenger_.SetMessageHandler("down", AnswerWith(9));
  EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), Bytes{9});
}

TEST_F(BinaryMessengerTest, ReplyOfANullPointerStaysOne) {
  messenger_.SetMessageHandler("down", [](const uint8_t*, size_t, const BinaryReply& reply) { reply(nullptr, 0); });
  const fakes::Reply reply = embedder_.Deliver("down", {1});
  EXPECT_TRUE(reply.answered());
  EXPECT_EQ(reply.bytes(), std::nullopt);
}

TEST_F(BinaryMessengerTest, ChannelsKeepTheirOwnHandlers) {
  // Many, so that what the embedder points to must not move as others come.
  for (uint8_t i = 0; i < 100; ++i) messenger_.SetMessageHandler("down" + std::to_string(i), AnswerWith(i));
  for (uint8_t i = 0; i < 100; ++i) {
    EXPECT_EQ(embedder_.Deliver("down" + std::to_string(i), {}).bytes(), Bytes{i});
  }
}

TEST_F(BinaryMessengerTest, LaterHandlerReplacesTheEarlierOne) {
  messenger_.SetMessageHandler("down", AnswerWith(1));
  messenger_.SetMessageHandler("down", AnswerWith(2));
  EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), Bytes{2});
}

TEST_F(BinaryMessengerTest, EmptyHandlerRemovesTheEarlierOneAndLetsGoOfIt) {
  const auto token = std::make_shared<int>();
  messenger_.SetMessageHandler("down", [token](const uint8_t*, size_t, const BinaryReply&) {});
  embedder_.ClearCalls();
  messenger_.SetMessageHandler("down", nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", null, null)"));
  EXPECT_FALSE(embedder_.Deliver("down", {}).delivered());
  EXPECT_EQ(token.use_count(), 1);
}

TEST_F(BinaryMessengerTest, EmptyHandlerWhereThereIsNoneOnlySetsNulls) {
  messenger_.SetMessageHandler("down", nullptr);
  EXPECT_THAT(embedder_.call_texts(), ElementsAre("MessengerSetCallback(\"down\", null, null)"));
}

TEST_F(BinaryMessengerTest, HandlerMayBeSetAgainAfterItsRemoval) {
  messenger_.SetMessageHandler("down", AnswerWith(1));
  messenger_.SetMessageHandler("down", nullptr);
  messenger_.SetMessageHandler("down", AnswerWith(2));
  EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), Bytes{2});
}

TEST_F(BinaryMessengerTest, HandlerThatRemovesOrReplacesItselfRunsToItsEnd) {
  const Bytes owned(100, 'x');  // on the heap, with the handler that owns it
  for (const BinaryMessageHandler& next : {BinaryMessageHandler(), AnswerWith(2)}) {
    messenger_.SetMessageHandler("down", [this, owned, next](const uint8_t*, size_t, const BinaryReply& reply) {
      messenger_.SetMessageHandler("down", next);
      reply(owned.data(), owned.size());
    });
    EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), owned);
    const fakes::Reply reply = embedder_.Deliver("down", {});
    EXPECT_EQ(reply.delivered(), next != nullptr);
    EXPECT_EQ(reply.bytes(), next != nullptr ? std::optional(Bytes{2}) : std::nullopt);
  }
}

TEST_F(BinaryMessengerTest, HandlerMayRunAgainWhileItRuns) {
  int depth = 0;
  messenger_.SetMessageHandler("down", [&](const uint8_t*, size_t, const BinaryReply& reply) {
    if (++depth < 3) {
      EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), Bytes{3});
    }
    const auto answer = static_cast<uint8_t>(depth);
    reply(&answer, 1);
  });
  EXPECT_EQ(embedder_.Deliver("down", {}).bytes(), Bytes{3});
}

TEST_F(BinaryMessengerTest, ExceptionOfAHandlerPassesThrough) {
  messenger_.SetMessageHandler(
      "down", [](const uint8_t*, size_t, const BinaryReply&) { (void)std::get<bool>(EncodableValue("no boolean")); });
  EXPECT_THROW(embedder_.Deliver("down", {}), std::bad_variant_access);
  EXPECT_FALSE(embedder_.last_reply().answered());
}

// ---- Replies ------------------------------------------------------------------------------------

TEST_F(BinaryMessengerTest, ReplyMayComeAfterTheHandlerHasReturned) {
  messenger_.SetMessageHandler("down", KeepReply());
  const fakes::Reply reply = embedder_.Deliver("down", {1});
  EXPECT_FALSE(reply.answered());

  const Bytes answer = {5};
  kept_reply_(answer.data(), answer.size());
  EXPECT_EQ(reply.bytes(), answer);
}

TEST_F(BinaryMessengerTest, ReplyMayComeAfterTheHandlerHasBeenRemoved) {
  messenger_.SetMessageHandler("down", KeepReply());
  const fakes::Reply reply = embedder_.Deliver("down", {1});
  messenger_.SetMessageHandler("down", nullptr);
  kept_reply_(nullptr, 0);
  EXPECT_TRUE(reply.answered());
}

TEST_F(BinaryMessengerTest, SecondReplyIsDroppedWithALineThroughACopyToo) {
  messenger_.SetMessageHandler("down", KeepReply());
  const fakes::Reply reply = embedder_.Deliver("down", {1});
  const BinaryReply copy = kept_reply_;
  const Bytes answer = {5};
  kept_reply_(answer.data(), answer.size());
  embedder_.ClearCalls();
  EXPECT_EQ(StderrOf([&] { kept_reply_(nullptr, 0); }), kDuplicateResponse);
  EXPECT_EQ(StderrOf([&] { copy(nullptr, 0); }), kDuplicateResponse);
  EXPECT_THAT(embedder_.call_texts(), IsEmpty());
  EXPECT_EQ(reply.bytes(), answer);
}

TEST_F(BinaryMessengerTest, RepliesOfTwoMessagesStayApart) {
  messenger_.SetMessageHandler("down", KeepReply());
  const fakes::Reply first = embedder_.Deliver("down", {1});
  const BinaryReply first_reply = kept_reply_;
  const fakes::Reply second = embedder_.Deliver("down", {2});
  kept_reply_(nullptr, 0);
  EXPECT_FALSE(first.answered());
  EXPECT_TRUE(second.answered());
  first_reply(nullptr, 0);
  EXPECT_TRUE(first.answered());
}

TEST_F(BinaryMessengerTest, HandlerThatDropsItsReplyAnswersNothing) {
  messenger_.SetMessageHandler("down", [](const uint8_t*, size_t, const BinaryReply&) {});
  EXPECT_FALSE(embedder_.Deliver("down", {}).answered());
}

}  // namespace
}  // namespace client_wrapper_test
