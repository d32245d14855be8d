// The host's embedder, called as a plug-in calls it: through the C interface.

#include "host/embedder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "test/host/failure.h"

namespace host {
namespace {

using Bytes = std::vector<uint8_t>;

// Frames as they come from the raster thread.
class Frames {
 public:
  Embedder::FrameSink Sink() {
    return [this](std::shared_ptr<const Frame> frame) {
      const std::lock_guard<std::mutex> lock(mutex_);
      frames_.push_back(std::move(frame));
      came_.notify_one();
    };
  }
  std::shared_ptr<const Frame> WaitFor(size_t number) {
    std::unique_lock<std::mutex> lock(mutex_);
    came_.wait(lock, [&] { return frames_.size() >= number; });
    return frames_[number - 1];
  }
  size_t count() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return frames_.size();
  }

 private:
  std::mutex mutex_;
  std::condition_variable came_;
  std::vector<std::shared_ptr<const Frame>> frames_;
};

// ---- Messages ---------------------------------------------------------------------------------------------

class MessageTest : public ::testing::Test {
 protected:
  using Handler = std::function<void(const FlutterDesktopMessage&)>;

  FlutterDesktopMessengerRef messenger() { return FlutterDesktopPluginRegistrarGetMessenger(embedder_.registrar()); }
  void Listen(const char* channel, Handler handler) {
    handlers_.push_back(std::make_unique<Handler>(std::move(handler)));
    FlutterDesktopMessengerSetCallback(
        messenger(), channel,
        [](FlutterDesktopMessengerRef, const FlutterDesktopMessage* message, void* user_data) {
          (*static_cast<Handler*>(user_data))(*message);
        },
        handlers_.back().get());
  }
  void Answer(const FlutterDesktopMessageResponseHandle* handle, const Bytes& bytes) {
    FlutterDesktopMessengerSendResponse(messenger(), handle, bytes.data(), bytes.size());
  }

  Embedder embedder_{[](std::shared_ptr<const Frame>) {}};
  std::vector<std::unique_ptr<Handler>> handlers_;
};

TEST_F(MessageTest, MessageAndAnswerAreCarriedByteForByte) {
  Listen("orbisk", [&](const FlutterDesktopMessage& message) {
    EXPECT_EQ(message.struct_size, sizeof(FlutterDesktopMessage));
    EXPECT_STREQ(message.channel, "orbisk");
    EXPECT_EQ(Bytes(message.message, message.message + message.message_size), (Bytes{1, 2, 3}));
    Answer(message.response_handle, {4, 5});
  });
  EXPECT_EQ(embedder_.Deliver("orbisk", {1, 2, 3}), Bytes({4, 5}));
}

TEST_F(MessageTest, EmptyAnswerIsAnAnswer) {
  Listen("orbisk", [&](const FlutterDesktopMessage& message) {
    FlutterDesktopMessengerSendResponse(messenger(), message.response_handle, nullptr, 0);
  });
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), Bytes());
}

TEST_F(MessageTest, ThereIsNoAnswerWhereNobodyListens) {
  Listen("other", [](const FlutterDesktopMessage&) { FAIL() << "not for this channel"; });
  EXPECT_EQ(embedder_.Deliver("orbisk", {1}), std::nullopt);
}

TEST_F(MessageTest, RemovedHandlerIsNotCalled) {
  Listen("orbisk", [](const FlutterDesktopMessage&) { FAIL(); });
  FlutterDesktopMessengerSetCallback(messenger(), "orbisk", nullptr, nullptr);
  EXPECT_EQ(embedder_.Deliver("orbisk", {1}), std::nullopt);
}

TEST_F(MessageTest, HandlerMayReplaceItselfWhileItRuns) {
  Listen("orbisk", [&](const FlutterDesktopMessage& message) {
    Listen("orbisk", [&](const FlutterDesktopMessage& next) { Answer(next.response_handle, {2}); });
    Answer(message.response_handle, {1});
  });
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), Bytes({1}));
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), Bytes({2}));
}

TEST_F(MessageTest, FirstOfTwoAnswersCounts) {
  Listen("orbisk", [&](const FlutterDesktopMessage& message) {
    Answer(message.response_handle, {1});
    Answer(message.response_handle, {2});
  });
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), Bytes({1}));
}

TEST_F(MessageTest, LateAnswerIsNotTakenForThatToALaterMessage) {
  const FlutterDesktopMessageResponseHandle* kept = nullptr;
  Listen("orbisk", [&](const FlutterDesktopMessage& message) {
    if (kept == nullptr) {
      kept = message.response_handle;
    } else {
      Answer(kept, {1});
    }
  });
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), std::nullopt);
  EXPECT_EQ(embedder_.Deliver("orbisk", {}), std::nullopt);
}

TEST_F(MessageTest, ExceptionOfTheHandlerComesThrough) {
  Listen("orbisk", [](const FlutterDesktopMessage&) { throw std::out_of_range("too far"); });
  EXPECT_THROW(embedder_.Deliver("orbisk", {}), std::out_of_range);
}

TEST_F(MessageTest, MessagesOfThePluginFindNobody) {
  EXPECT_TRUE(FlutterDesktopMessengerSend(messenger(), "orbisk", nullptr, 0));
  size_t replies = 0;
  EXPECT_TRUE(FlutterDesktopMessengerSendWithReply(
      messenger(), "orbisk", nullptr, 0,
      [](const uint8_t* data, size_t size, void* user_data) {
        EXPECT_EQ(data, nullptr);
        EXPECT_EQ(size, 0u);
        ++*static_cast<size_t*>(user_data);
      },
      &replies));
  EXPECT_EQ(replies, 1u);
}

// ---- Textures ---------------------------------------------------------------------------------------------

// A texture of 2 x 1 pixels whose first byte counts the calls.
class CountingTexture {
 public:
  const FlutterDesktopPixelBuffer* Copy(size_t width, size_t height) {
    EXPECT_EQ(width, 20u);
    EXPECT_EQ(height, 10u);
    thread = std::this_thread::get_id();
    std::unique_lock<std::mutex> lock(mutex);
    ++calls;
    called.notify_all();
    // Calls beyond `allowed` wait.
    called.wait(lock, [&] { return calls <= allowed; });
    if (throws) throw std::runtime_error("no picture");
    if (empty) return nullptr;
    bytes = {static_cast<uint8_t>(calls), 2, 3, 4, 5, 6, 7, 8};
    buffer.buffer = bytes.data();
    buffer.width = 2;
    buffer.height = 1;
    buffer.release_callback = [](void* context) { ++static_cast<CountingTexture*>(context)->releases; };
    buffer.release_context = this;
    return &buffer;
  }
  void WaitForCall(int number) {
    std::unique_lock<std::mutex> lock(mutex);
    called.wait(lock, [&] { return calls >= number; });
  }
  void Allow(int number) {
    const std::lock_guard<std::mutex> lock(mutex);
    allowed = number;
    called.notify_all();
  }

  std::mutex mutex;
  std::condition_variable called;
  int calls = 0;
  int allowed = 1000;
  std::atomic<bool> throws{false};
  std::atomic<bool> empty{false};
  std::atomic<int> releases{0};
  std::thread::id thread;
  Bytes bytes;
  FlutterDesktopPixelBuffer buffer = {};
};

class TextureTest : public ::testing::Test {
 protected:
  FlutterDesktopTextureRegistrarRef registrar() {
    return FlutterDesktopRegistrarGetTextureRegistrar(embedder_.registrar());
  }
  int64_t Register() {
    FlutterDesktopTextureInfo info = {};
    info.type = kFlutterDesktopPixelBufferTexture;
    info.pixel_buffer_config.callback = [](size_t width, size_t height, void* user_data) {
      return static_cast<CountingTexture*>(user_data)->Copy(width, height);
    };
    info.pixel_buffer_config.user_data = &texture_;
    return FlutterDesktopTextureRegistrarRegisterExternalTexture(registrar(), &info);
  }
  bool Mark(int64_t id) { return FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(registrar(), id); }
  void Show(int64_t id) { embedder_.ShowTexture(id, 20, 10); }

  CountingTexture texture_;
  Frames frames_;
  Embedder embedder_{frames_.Sink()};
};

TEST_F(TextureTest, FirstFetchOfAShownTextureIsKeptBack) {
  const int64_t id = Register();
  EXPECT_GE(id, 0);
  Show(id);
  EXPECT_EQ(texture_.calls, 1);
  EXPECT_NE(texture_.thread, std::this_thread::get_id());
  EXPECT_EQ(texture_.releases, 1);
  EXPECT_EQ(frames_.count(), 0u);
  EXPECT_EQ(embedder_.frames_fetched(), 0u);
}

TEST_F(TextureTest, MarkedFrameIsFetchedAndCopied) {
  const int64_t id = Register();
  Show(id);
  EXPECT_TRUE(Mark(id));
  const auto frame = frames_.WaitFor(1);
  EXPECT_EQ(frame->width, 2);
  EXPECT_EQ(frame->height, 1);
  EXPECT_EQ(frame->rgba, (Bytes{2, 2, 3, 4, 5, 6, 7, 8}));
  EXPECT_TRUE(Mark(id));
  EXPECT_EQ(frames_.WaitFor(2)->rgba[0], 3);
  EXPECT_EQ(frame->rgba[0], 2) << "the first one is a copy";
  embedder_.StopRaster();
  EXPECT_EQ(embedder_.frames_marked(), 2u);
  EXPECT_EQ(embedder_.frames_fetched(), 2u);
}

TEST_F(TextureTest, TextureThatIsNotShownIsNotFetched) {
  const int64_t id = Register();
  EXPECT_TRUE(Mark(id));
  embedder_.StopRaster();
  EXPECT_EQ(texture_.calls, 0);
  EXPECT_EQ(embedder_.frames_marked(), 0u);
}

TEST_F(TextureTest, MarksDuringAFetchCountAsOne) {
  const int64_t id = Register();
  Show(id);
  texture_.Allow(1);
  EXPECT_TRUE(Mark(id));
  texture_.WaitForCall(2);  // this fetch is under way and held up
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(Mark(id));
  texture_.Allow(1000);
  frames_.WaitFor(2);
  embedder_.StopRaster();
  EXPECT_EQ(texture_.calls, 3);
  EXPECT_EQ(embedder_.frames_marked(), 6u);
  EXPECT_EQ(embedder_.frames_fetched(), 2u);
}

TEST_F(TextureTest, UnknownTextureCannotBeMarkedOrShown) {
  EXPECT_FALSE(Mark(77));
  EXPECT_EQ(FailureOf([&] { Show(77); }), "there is no texture 77");
}

TEST_F(TextureTest, OtherKindsOfTexturesAreRefused) {
  FlutterDesktopTextureInfo info = {};
  info.type = kFlutterDesktopGpuSurfaceTexture;
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(registrar(), &info), -1);
  info.type = kFlutterDesktopEGLImageTexture;
  EXPECT_EQ(FlutterDesktopTextureRegistrarRegisterExternalTexture(registrar(), &info), -1);
}

TEST_F(TextureTest, UnregisteringWaitsForTheFetchUnderWay) {
  const int64_t id = Register();
  Show(id);
  texture_.Allow(1);
  EXPECT_TRUE(Mark(id));
  texture_.WaitForCall(2);
  std::atomic<bool> unregistered{false};
  std::thread plugin([&] {
    FlutterDesktopTextureRegistrarUnregisterExternalTexture(
        registrar(), id, [](void* flag) { *static_cast<std::atomic<bool>*>(flag) = true; }, &unregistered);
  });
  while (Mark(id)) std::this_thread::yield();  // until the texture is gone, but for the fetch
  EXPECT_FALSE(unregistered);
  texture_.Allow(1000);
  plugin.join();
  EXPECT_TRUE(unregistered);
  EXPECT_EQ(texture_.releases, 2);
}

TEST_F(TextureTest, TextureWithoutPixelsCannotBeShown) {
  texture_.empty = true;
  const int64_t id = Register();
  EXPECT_EQ(FailureOf([&] { Show(id); }), "the plug-in hands out no pixels for its texture");
}

TEST_F(TextureTest, ExceptionOfTheCallbackBecomesAFailure) {
  texture_.throws = true;
  const int64_t id = Register();
  EXPECT_EQ(FailureOf([&] { Show(id); }), "the plug-in's pixel-buffer callback threw: no picture");
  EXPECT_EQ(FailureOf([&] { embedder_.CheckRaster(); }), "the plug-in's pixel-buffer callback threw: no picture");
}

TEST_F(TextureTest, NothingIsFetchedAfterTheRasterThreadHasStopped) {
  const int64_t id = Register();
  Show(id);
  embedder_.StopRaster();
  EXPECT_TRUE(Mark(id));
  embedder_.StopRaster();
  EXPECT_EQ(texture_.calls, 1);
}

// ---- Registrar --------------------------------------------------------------------------------------------

FlutterDesktopPluginRegistrarRef g_destroyed = nullptr;
int g_destructions = 0;

TEST(RegistrarTest, DestructionIsToldOnce) {
  g_destructions = 0;
  {
    Embedder embedder([](std::shared_ptr<const Frame>) {});
    FlutterDesktopPluginRegistrarSetDestructionHandler(embedder.registrar(),
                                                       [](FlutterDesktopPluginRegistrarRef registrar) {
                                                         g_destroyed = registrar;
                                                         ++g_destructions;
                                                       });
    embedder.DestroyRegistrar();
    EXPECT_EQ(g_destructions, 1);
    EXPECT_EQ(g_destroyed, embedder.registrar());
  }
  EXPECT_EQ(g_destructions, 1) << "not again";
}

TEST(RegistrarTest, DestructionIsToldWhenTheEmbedderGoes) {
  g_destructions = 0;
  {
    Embedder embedder([](std::shared_ptr<const Frame>) {});
    FlutterDesktopPluginRegistrarSetDestructionHandler(embedder.registrar(),
                                                       [](FlutterDesktopPluginRegistrarRef) { ++g_destructions; });
  }
  EXPECT_EQ(g_destructions, 1);
}

}  // namespace
}  // namespace host
