// The answers to a call: each once, and what an unanswered one comes to.

#include "flutter/method_result.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "flutter/engine_method_result.h"
#include "flutter/standard_method_codec.h"
#include "message_bytes.h"
#include "recording_result.h"
#include "vtable_slot.h"

namespace client_wrapper_test {
namespace {

using namespace flutter;
using flutter::internal::ReplyManager;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const char kDuplicateResult[] =
    "Error: Only one of Success, Error, or NotImplemented can be called, and it can be called exactly once. "
    "Ignoring duplicate result.\n";
const char kUnanswered[] = "Warning: Failed to respond to a message. This is a memory leak.\n";

// ---- MethodResult -------------------------------------------------------------------------------

class MethodResultSlots : public MethodResult<> {
 public:
  using MethodResult::ErrorInternal;
  using MethodResult::NotImplementedInternal;
  using MethodResult::SuccessInternal;
};

TEST(MethodResultTest, VirtualOperationsFollowTheDestructorInOrder) {
  static_assert(std::has_virtual_destructor_v<MethodResult<>>);
  EXPECT_EQ(VtableSlot(&MethodResultSlots::SuccessInternal), 2u);
  EXPECT_EQ(VtableSlot(&MethodResultSlots::ErrorInternal), 3u);
  EXPECT_EQ(VtableSlot(&MethodResultSlots::NotImplementedInternal), 4u);
}

TEST(MethodResultTest, AnswersReachTheImplementationAsTheyAre) {
  const EncodableValue value("a");
  RecordingResult result;
  result.Success();
  result.Success(value);
  result.Success(EncodableValue());
  result.Error("E");
  result.Error("E", "m");
  result.Error("E", "m", value);
  result.NotImplemented();
  const std::string text = ::testing::PrintToString(value);
  EXPECT_THAT(result.answers(),
              ElementsAre("success", "success " + text, "success " + ::testing::PrintToString(EncodableValue()),
                          "error E, ", "error E, m", "error E, m, " + text, "not implemented"));
}

// ---- ReplyManager -------------------------------------------------------------------------------

/// The far end of a reply: what it was called with.
struct Replies {
  struct Sent {
    bool null_data;
    Bytes bytes;
  };
  std::vector<Sent> sent;

  BinaryReply Callback() {
    return [this](const uint8_t* data, size_t size) {
      sent.push_back({data == nullptr, data == nullptr ? Bytes(size) : Bytes(data, data + size)});
    };
  }
};

TEST(ReplyManagerTest, DataReachesTheReplyOnce) {
  Replies replies;
  const Bytes data = {1, 2};
  EXPECT_EQ(StderrOf([&] {
              ReplyManager manager(replies.Callback());
              manager.SendResponseData(&data);
            }),
            "");
  ASSERT_EQ(replies.sent.size(), 1u);
  EXPECT_EQ(replies.sent[0].bytes, data);
}

TEST(ReplyManagerTest, NoDataAndEmptyDataAreANullPointerOfNoLength) {
  Bytes empty;
  empty.reserve(1);  // its pointer is not null
  for (const Bytes* data : std::initializer_list<const Bytes*>{nullptr, &empty}) {
    Replies replies;
    ReplyManager(replies.Callback()).SendResponseData(data);
    ASSERT_EQ(replies.sent.size(), 1u);
    EXPECT_TRUE(replies.sent[0].null_data);
    EXPECT_EQ(replies.sent[0].bytes, Bytes());
  }
}

TEST(ReplyManagerTest, SecondAnswerIsDroppedWithALine) {
  Replies replies;
  const Bytes data = {1};
  ReplyManager manager(replies.Callback());
  manager.SendResponseData(&data);
  EXPECT_EQ(StderrOf([&] { manager.SendResponseData(nullptr); }), kDuplicateResult);
  EXPECT_EQ(replies.sent.size(), 1u);
}

TEST(ReplyManagerTest, EmptyCallbackCountsAsAnswered) {
  EXPECT_EQ(StderrOf([] { ReplyManager(nullptr).SendResponseData(nullptr); }), kDuplicateResult);
  EXPECT_EQ(StderrOf([] { const ReplyManager manager(nullptr); }), "");
}

TEST(ReplyManagerTest, CallbackIsLetGoOfOnceItHasBeenCalled) {
  const auto token = std::make_shared<int>();
  ReplyManager manager([token](const uint8_t*, size_t) {});
  EXPECT_EQ(token.use_count(), 2);
  manager.SendResponseData(nullptr);
  EXPECT_EQ(token.use_count(), 1);
}

TEST(ReplyManagerTest, CallbackIsThereUntilItReturnsAndMayBeCalledFromWithin) {
  std::vector<Bytes> sent;
  ReplyManager* manager = nullptr;
  ReplyManager owner([&](const uint8_t* data, size_t size) {
    sent.emplace_back(data, data + size);
    const Bytes second = {2};
    if (sent.size() == 1) manager->SendResponseData(&second);
  });
  manager = &owner;
  const Bytes first = {1};
  EXPECT_EQ(StderrOf([&] { owner.SendResponseData(&first); }), "");
  EXPECT_THAT(sent, ElementsAre(Bytes{1}, Bytes{2}));
  EXPECT_EQ(StderrOf([&] { owner.SendResponseData(&first); }), kDuplicateResult);
  EXPECT_EQ(sent.size(), 2u);
}

TEST(ReplyManagerTest, DyingUnansweredWarnsAndDestroysTheCallbackUncalled) {
  const auto calls = std::make_shared<int>(0);
  EXPECT_EQ(StderrOf([&] { const ReplyManager manager([calls](const uint8_t*, size_t) { ++*calls; }); }), kUnanswered);
  EXPECT_EQ(*calls, 0);
  EXPECT_EQ(calls.use_count(), 1);
}

// ---- EngineMethodResult -------------------------------------------------------------------------

class EngineMethodResultTest : public ::testing::Test {
 protected:
  std::unique_ptr<MethodResult<>> NewResult() {
    return std::make_unique<EngineMethodResult<>>(replies_.Callback(), &StandardMethodCodec::GetInstance());
  }

  /// The bytes of the one reply.
  Bytes Reply() {
    if (replies_.sent.size() != 1) ADD_FAILURE() << replies_.sent.size() << " replies";
    return replies_.sent.empty() ? Bytes() : replies_.sent[0].bytes;
  }

  Replies replies_;
};

TEST_F(EngineMethodResultTest, SuccessRepliesWithItsEnvelope) {
  NewResult()->Success(EncodableValue("a"));
  EXPECT_EQ(Reply(), (Bytes{0, 7, 1, 'a'}));
}

TEST_F(EngineMethodResultTest, SuccessWithoutAValueRepliesWithANull) {
  NewResult()->Success();
  EXPECT_EQ(Reply(), (Bytes{0, 0}));
}

TEST_F(EngineMethodResultTest, ErrorRepliesWithItsEnvelope) {
  NewResult()->Error("E", "m", EncodableValue(true));
  EXPECT_EQ(Reply(), (Bytes{1, 7, 1, 'E', 7, 1, 'm', 1}));
}

TEST_F(EngineMethodResultTest, NullPointerInAValuesPlaceRepliesWithANull) {
  NewResult()->Success(nullptr);
  NewResult()->Error("E", "m", nullptr);
  ASSERT_EQ(replies_.sent.size(), 2u);
  EXPECT_EQ(replies_.sent[0].bytes, (Bytes{0, 0}));
  EXPECT_EQ(replies_.sent[1].bytes, (Bytes{1, 7, 1, 'E', 7, 1, 'm', 0}));
}

TEST_F(EngineMethodResultTest, ErrorWithCodeAloneRepliesWithTwoNullsAfterIt) {
  NewResult()->Error("E");
  EXPECT_EQ(Reply(), (Bytes{1, 7, 1, 'E', 0, 0}));
}

TEST_F(EngineMethodResultTest, NotImplementedRepliesWithANullPointer) {
  NewResult()->NotImplemented();
  EXPECT_EQ(Reply(), Bytes());
  EXPECT_TRUE(replies_.sent[0].null_data);
}

TEST_F(EngineMethodResultTest, SecondAnswerOfAnyKindIsDroppedWithOneLine) {
  void (*const answers[])(MethodResult<>&) = {[](MethodResult<>& result) { result.Success(); },
                                              [](MethodResult<>& result) { result.Error("E"); },
                                              [](MethodResult<>& result) { result.NotImplemented(); }};
  const Bytes expected[] = {{0, 0}, {1, 7, 1, 'E', 0, 0}, {}};
  for (size_t first = 0; first < 3; ++first) {
    for (size_t second = 0; second < 3; ++second) {
      SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
      replies_.sent.clear();
      const auto result = NewResult();
      answers[first](*result);
      EXPECT_EQ(StderrOf([&] { answers[second](*result); }), kDuplicateResult);
      EXPECT_EQ(Reply(), expected[first]);
    }
  }
}

TEST_F(EngineMethodResultTest, DyingUnansweredWarnsAndRepliesNothing) {
  EXPECT_EQ(StderrOf([&] { NewResult(); }), kUnanswered);
  EXPECT_THAT(replies_.sent, IsEmpty());
}

TEST_F(EngineMethodResultTest, DyingAnsweredIsSilent) {
  EXPECT_EQ(StderrOf([&] { NewResult()->NotImplemented(); }), "");
}

}  // namespace
}  // namespace client_wrapper_test
