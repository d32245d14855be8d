// The fake embedder itself: what it carries, keeps and objects to.

#include "test/fakes/fake_embedder.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

namespace fakes {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The C interface as a plug-in calls it, with no wrapper between.
class FakeEmbedderTest : public ::testing::Test {
 protected:
  FlutterDesktopMessengerRef Messenger() { return FlutterDesktopPluginRegistrarGetMessenger(embedder_.registrar()); }
  FlutterDesktopTextureRegistrarRef Textures() {
    return FlutterDesktopRegistrarGetTextureRegistrar(embedder_.registrar());
  }

  int64_t RegisterPixelBuffer() {
    FlutterDesktopTextureInfo info = {};
    info.type = kFlutterDesktopPixelBufferTexture;
    info.pixel_buffer_config.callback = [](size_t, size_t, void* user_data) {
      return static_cast<const FlutterDesktopPixelBuffer*>(user_data);
    };
    info.pixel_buffer_config.user_data = &frame_;
    return FlutterDesktopTextureRegistrarRegisterExternalTexture(Textures(), &info);
  }

  /// Sets a callback on "down" that keeps the message's response handle.
  void KeepHandles() {
    const auto keep = [](FlutterDesktopMessengerRef, const FlutterDesktopMessage* message, void* user_data) {
      *static_cast<const FlutterDesktopMessageResponseHandle**>(user_data) = message->response_handle;
    };
    FlutterDesktopMessengerSetCallback(Messenger(), "down", keep, &handle_);
  }

  void Respond(const Bytes& data) {
    FlutterDesktopMessengerSendResponse(Messenger(), handle_, data.data(), data.size());
  }

  FlutterDesktopPixelBuffer frame_ = {};
  const FlutterDesktopMessageResponseHandle* handle_ = nullptr;
  FakeEmbedder embedder_;
};

using FakeEmbedderDeathTest = FakeEmbedderTest;

// ---- Being found --------------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, IsLoadedUnderTheRealLibrarysName) {
  void* const library = dlopen("libflutter_elinux_x11.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr) << dlerror();
  EXPECT_EQ(dlsym(library, "FlutterDesktopMessengerSend"), reinterpret_cast<void*>(&FlutterDesktopMessengerSend));
  dlclose(library);
}

// ---- Messages -----------------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, MessageArrivesAsTheEmbeddersRecord) {
  struct Seen {
    size_t struct_size;
    std::string channel;
    Bytes bytes;
    FlutterDesktopMessengerRef messenger;
  } seen = {};
  const auto see = [](FlutterDesktopMessengerRef messenger, const FlutterDesktopMessage* message, void* user_data) {
    *static_cast<Seen*>(user_data) = {message->struct_size, message->channel,
                                      Bytes(message->message, message->message + message->message_size), messenger};
  };
  FlutterDesktopMessengerSetCallback(Messenger(), "down", see, &seen);
  EXPECT_TRUE(embedder_.Deliver("down", {1, 2, 3}).delivered());
  EXPECT_EQ(seen.struct_size, 40u);
  EXPECT_EQ(seen.channel, "down");
  EXPECT_EQ(seen.bytes, (Bytes{1, 2, 3}));
  EXPECT_EQ(seen.messenger, Messenger());
}

TEST_F(FakeEmbedderTest, MessageWithoutACallbackIsNotDelivered) {
  const Reply reply = embedder_.Deliver("down", {1});
  EXPECT_FALSE(reply.delivered());
  EXPECT_FALSE(reply.answered());
}

TEST_F(FakeEmbedderTest, AnswersTellNullFromEmpty) {
  KeepHandles();
  const Reply null = embedder_.Deliver("down", {});
  EXPECT_FALSE(null.answered());
  FlutterDesktopMessengerSendResponse(Messenger(), handle_, nullptr, 0);
  EXPECT_TRUE(null.answered());
  EXPECT_EQ(null.bytes(), std::nullopt);

  const Reply empty = embedder_.Deliver("down", {});
  const uint8_t somewhere = 0;
  FlutterDesktopMessengerSendResponse(Messenger(), handle_, &somewhere, 0);
  EXPECT_EQ(empty.bytes(), Bytes());
}

TEST_F(FakeEmbedderTest, ExceptionOfACallbackComesOutOfDeliver) {
  const auto fail = [](FlutterDesktopMessengerRef, const FlutterDesktopMessage*, void*) {
    throw std::runtime_error("from the callback");
  };
  FlutterDesktopMessengerSetCallback(Messenger(), "down", fail, nullptr);
  EXPECT_THROW(embedder_.Deliver("down", {1}), std::runtime_error);
  EXPECT_TRUE(embedder_.last_reply().delivered());
  EXPECT_FALSE(embedder_.last_reply().answered());
}

TEST_F(FakeEmbedderTest, SentMessagesAreKeptAndAnsweredOnce) {
  const Bytes message = {1, 2};
  Bytes answer;
  const auto keep = [](const uint8_t* data, size_t size, void* user_data) {
    static_cast<Bytes*>(user_data)->assign(data, data + size);
  };
  EXPECT_TRUE(FlutterDesktopMessengerSend(Messenger(), "up", message.data(), message.size()));
  EXPECT_TRUE(FlutterDesktopMessengerSendWithReply(Messenger(), "up", nullptr, 0, keep, &answer));
  embedder_.ReplyToSent(1, Bytes{5});
  EXPECT_EQ(answer, Bytes{5});

  const std::vector<SentMessage> sent = embedder_.sent_messages();
  ASSERT_EQ(sent.size(), 2u);
  EXPECT_EQ(sent[0].channel, "up");
  EXPECT_EQ(sent[0].bytes, message);
  EXPECT_FALSE(sent[0].wants_reply);
  EXPECT_EQ(sent[1].bytes, std::nullopt);
  EXPECT_TRUE(sent[1].wants_reply);
  EXPECT_TRUE(sent[1].replied);
  EXPECT_THROW(embedder_.ReplyToSent(0, Bytes{}), std::logic_error);
  EXPECT_THROW(embedder_.ReplyToSent(1, Bytes{}), std::logic_error);
  EXPECT_THROW(embedder_.ReplyToSent(2, Bytes{}), std::logic_error);
}

// ---- Calls --------------------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, CallsAreKeptInOrderWithTheirThreads) {
  const int64_t id = RegisterPixelBuffer();
  const auto textures = Textures();
  embedder_.ClearCalls();
  std::thread marking([&] { FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(textures, id); });
  const std::thread::id marking_id = marking.get_id();
  marking.join();
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(textures, id, nullptr, nullptr);

  EXPECT_THAT(embedder_.call_texts(), ElementsAre("TextureRegistrarMarkExternalTextureFrameAvailable(1)",
                                                  "TextureRegistrarUnregisterExternalTexture(1, null, null)"));
  EXPECT_THAT(embedder_.call_texts_without_marks(),
              ElementsAre("TextureRegistrarUnregisterExternalTexture(1, null, null)"));
  EXPECT_EQ(embedder_.calls()[0].thread, marking_id);
  EXPECT_EQ(embedder_.calls()[1].thread, std::this_thread::get_id());
}

// ---- Textures -----------------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, TextureIdsCountUpFromTheFirst) {
  FakeEmbedder other(70);
  FlutterDesktopTextureInfo info = {};
  info.type = kFlutterDesktopEGLImageTexture;
  info.egl_image_config.callback = [](size_t, size_t, void*, void*, void*) -> const FlutterDesktopEGLImage* {
    return nullptr;
  };
  const auto textures = FlutterDesktopRegistrarGetTextureRegistrar(other.registrar());
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(textures, &info), 70);
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(textures, &info), 71);
  EXPECT_THAT(other.texture_ids(), ElementsAre(70, 71));
  EXPECT_THROW((void)other.FetchFrame(70, 1, 1), std::logic_error);
  EXPECT_THROW((void)other.texture(72), std::logic_error);
}

TEST_F(FakeEmbedderTest, RefusedTextureGetsMinusOne) {
  embedder_.RefuseTextures(true);
  EXPECT_EQ(RegisterPixelBuffer(), -1);
  embedder_.RefuseTextures(false);
  EXPECT_EQ(RegisterPixelBuffer(), 1);
}

TEST_F(FakeEmbedderTest, FramesAreFetchedUntilTheEngineLetsGo) {
  const int64_t id = RegisterPixelBuffer();
  EXPECT_EQ(embedder_.FetchFrame(id, 4, 3), &frame_);
  EXPECT_THROW(embedder_.LetGoOfTexture(id), std::logic_error);

  int fired = 0;
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(
      Textures(), id, [](void* user_data) { ++*static_cast<int*>(user_data); }, &fired);
  EXPECT_FALSE(embedder_.texture(id).registered);
  EXPECT_EQ(embedder_.FetchFrame(id, 4, 3), &frame_);
  EXPECT_EQ(fired, 0);

  embedder_.LetGoOfTexture(id);
  EXPECT_EQ(fired, 1);
  EXPECT_TRUE(embedder_.texture(id).let_go);
  EXPECT_THROW((void)embedder_.FetchFrame(id, 4, 3), std::logic_error);
  EXPECT_THROW(embedder_.LetGoOfTexture(id), std::logic_error);
}

TEST_F(FakeEmbedderTest, MarksAreCountedAndAwaited) {
  const int64_t id = RegisterPixelBuffer();
  const auto textures = Textures();
  EXPECT_TRUE(embedder_.WaitForMarks(id, 0));
  EXPECT_FALSE(embedder_.WaitForMarks(id, 1, std::chrono::milliseconds(1)));

  int hooked = 0;
  embedder_.SetMarkHook([&](int64_t marked_id) { hooked += marked_id == id ? embedder_.texture(id).marks : 100; });
  std::thread marking([&] {
    for (int i = 0; i < 3; ++i) FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(textures, id);
  });
  EXPECT_TRUE(embedder_.WaitForMarks(id, 3));
  marking.join();
  EXPECT_EQ(embedder_.texture(id).marks, 3);
  EXPECT_EQ(hooked, 1 + 2 + 3);
}

// ---- The registrar's end ------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, DestroyingTheRegistrarRunsItsHandlerOnceWhileTheMessengerWorks) {
  FlutterDesktopPluginRegistrarSetDestructionHandler(embedder_.registrar(), [](FlutterDesktopPluginRegistrarRef of) {
    FlutterDesktopMessengerSend(FlutterDesktopPluginRegistrarGetMessenger(of), "at the end", nullptr, 0);
  });
  KeepHandles();
  embedder_.DestroyRegistrar();
  embedder_.DestroyRegistrar();
  EXPECT_EQ(embedder_.sent_messages().size(), 1u);
  EXPECT_FALSE(embedder_.Deliver("down", {}).delivered());
  EXPECT_THAT(embedder_.complaints(), IsEmpty());
}

TEST_F(FakeEmbedderTest, DyingDestroysTheRegistrar) {
  static int runs = 0;
  {
    const FakeEmbedder other;
    FlutterDesktopPluginRegistrarSetDestructionHandler(other.registrar(),
                                                       [](FlutterDesktopPluginRegistrarRef) { ++runs; });
  }
  EXPECT_EQ(runs, 1);
}

// ---- Complaints ---------------------------------------------------------------------------------

TEST_F(FakeEmbedderTest, ComplainsOfASecondAnswerAndKeepsTheFirst) {
  KeepHandles();
  const Reply reply = embedder_.Deliver("down", {});
  Respond({1});
  Respond({2});
  EXPECT_EQ(reply.bytes(), Bytes{1});
  EXPECT_THAT(embedder_.complaints(), ElementsAre("MessengerSendResponse: second answer to message 1"));
}

TEST_F(FakeEmbedderTest, ComplainsOfAnAnswerToAnUnknownMessage) {
  Respond({1});
  FakeEmbedder other;
  KeepHandles();
  embedder_.Deliver("down", {});
  FlutterDesktopMessengerSendResponse(FlutterDesktopPluginRegistrarGetMessenger(other.registrar()), handle_, nullptr,
                                      0);
  EXPECT_THAT(embedder_.complaints(), ElementsAre("MessengerSendResponse: unknown message"));
  EXPECT_THAT(other.complaints(), ElementsAre("MessengerSendResponse: unknown message"));
}

TEST_F(FakeEmbedderTest, ComplainsOfAnAnswerAfterTheRegistrarsEnd) {
  KeepHandles();
  const auto messenger = Messenger();
  const Reply reply = embedder_.Deliver("down", {});
  embedder_.DestroyRegistrar();
  FlutterDesktopMessengerSendResponse(messenger, handle_, nullptr, 0);
  EXPECT_FALSE(reply.answered());
  EXPECT_THAT(embedder_.complaints(), ElementsAre("MessengerSendResponse: the registrar is gone"));
}

TEST_F(FakeEmbedderTest, ComplainsOfAnyCallAfterTheRegistrarsEnd) {
  const auto textures = Textures();
  const int64_t id = RegisterPixelBuffer();
  embedder_.DestroyRegistrar();
  EXPECT_EQ(Messenger(), nullptr);
  EXPECT_EQ(Textures(), nullptr);
  EXPECT_FALSE(FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(textures, id));
  EXPECT_THAT(embedder_.complaints(),
              ElementsAre("PluginRegistrarGetMessenger: the registrar is gone",
                          "RegistrarGetTextureRegistrar: the registrar is gone",
                          "TextureRegistrarMarkExternalTextureFrameAvailable: the registrar is gone"));
}

TEST_F(FakeEmbedderTest, ComplainsOfMarksAndUnregisteringWithoutATexture) {
  const auto textures = Textures();
  const int64_t id = RegisterPixelBuffer();
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(textures, id, nullptr, nullptr);
  EXPECT_FALSE(FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(textures, id));
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(textures, id, nullptr, nullptr);
  EXPECT_FALSE(FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(textures, -1));
  EXPECT_THAT(embedder_.complaints(),
              ElementsAre("TextureRegistrarMarkExternalTextureFrameAvailable: texture 1 is not registered",
                          "TextureRegistrarUnregisterExternalTexture: texture 1 is not registered",
                          "TextureRegistrarMarkExternalTextureFrameAvailable: texture -1 is not registered"));
}

TEST_F(FakeEmbedderTest, ComplainsOfMessengerCallsOffThePlatformThread) {
  const auto messenger = Messenger();
  std::thread([&] { FlutterDesktopMessengerSend(messenger, "up", nullptr, 0); }).join();
  EXPECT_THAT(embedder_.complaints(), ElementsAre("MessengerSend: not on the platform thread"));
}

TEST_F(FakeEmbedderTest, ComplainsOfNullsWhereThereMayBeNone) {
  FlutterDesktopMessengerSetCallback(Messenger(), nullptr, nullptr, nullptr);
  FlutterDesktopMessengerSend(Messenger(), "up", nullptr, 3);
  FlutterDesktopMessengerSendWithReply(Messenger(), "up", nullptr, 0, nullptr, nullptr);
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(Textures(), nullptr), -1);
  const FlutterDesktopTextureInfo no_callback = {};
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(Textures(), &no_callback), -1);
  EXPECT_THAT(
      embedder_.complaints(),
      ElementsAre("MessengerSetCallback: null channel name", "MessengerSend: null data of 3 bytes",
                  "MessengerSendWithReply: null reply callback", "TextureRegistrarRegisterExternalTexture: null record",
                  "TextureRegistrarRegisterExternalTexture: null callback"));
}

TEST_F(FakeEmbedderTest, ComplainsOfAGpuSurfaceRecordOfAnotherSize) {
  FlutterDesktopTextureInfo info = {};
  info.type = kFlutterDesktopGpuSurfaceTexture;
  info.gpu_surface_config.struct_size = 24;
  info.gpu_surface_config.callback = [](size_t, size_t, void*) -> const FlutterDesktopGpuSurfaceDescriptor* {
    return nullptr;
  };
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(Textures(), &info), -1);
  EXPECT_THAT(embedder_.complaints(),
              ElementsAre("TextureRegistrarRegisterExternalTexture: a GPU surface record of 24 bytes"));
}

TEST_F(FakeEmbedderTest, ComplainsOfTheHandleOfADeadEmbedder) {
  FlutterDesktopMessengerRef dead = nullptr;
  {
    const FakeEmbedder other;
    dead = FlutterDesktopPluginRegistrarGetMessenger(other.registrar());
  }
  EXPECT_FALSE(FlutterDesktopMessengerSend(dead, "up", nullptr, 0));
  EXPECT_THAT(embedder_.complaints(), ElementsAre("MessengerSend: a handle that no living embedder owns"));
}

TEST_F(FakeEmbedderDeathTest, ComplaintThatNobodyReadEndsTheProgram) {
  EXPECT_DEATH(
      {
        const FakeEmbedder other;
        FlutterDesktopMessengerSend(FlutterDesktopPluginRegistrarGetMessenger(other.registrar()), nullptr, nullptr, 0);
      },
      "^Complaints of a FakeEmbedder that its test did not look at:\nMessengerSend: null channel name\n(qemu: .*\n)?$");
}

TEST(FakeEmbedderDeathTestAlone, HandleWhileNoEmbedderLivesEndsTheProgram) {
  FlutterDesktopMessengerRef dead = nullptr;
  {
    const FakeEmbedder other;
    dead = FlutterDesktopPluginRegistrarGetMessenger(other.registrar());
  }
  EXPECT_DEATH(FlutterDesktopMessengerSend(dead, "up", nullptr, 0),
               "^MessengerSend: a handle that no living embedder owns\n(qemu: .*\n)?$");
}

}  // namespace
}  // namespace fakes
