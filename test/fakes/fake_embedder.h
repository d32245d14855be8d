// The embedder, played by a test: its C interface under the real SONAME (libflutter_elinux_x11.so). A test
// program's own objects and a plug-in that it loads with dlopen() both talk to the test's FakeEmbedder.
//
//   fakes::FakeEmbedder embedder;
//   OrbiskPluginRegisterWithRegistrar(embedder.registrar());
//   const fakes::Reply reply = embedder.Deliver("orbisk", message);
//   EXPECT_EQ(reply.bytes(), expected);
//   EXPECT_THAT(embedder.complaints(), IsEmpty());

#ifndef TEST_FAKES_FAKE_EMBEDDER_H_
#define TEST_FAKES_FAKE_EMBEDDER_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "flutter_desktop.h"

#pragma GCC visibility push(default)
namespace fakes {

using Bytes = std::vector<uint8_t>;

/// One call of a function of the C interface.
///
/// Shape    `function` is its name without "FlutterDesktop". `text` adds the arguments after the handle, and
///          the id that a texture got; pointers show as null or as what they point to:
///              MessengerSetCallback("orbisk", callback, user data)
///              MessengerSendResponse(message 1, 3 bytes)
///              TextureRegistrarRegisterExternalTexture(pixel buffer) = 1
///              TextureRegistrarUnregisterExternalTexture(1, null, null)
struct Call {
  std::string function;
  std::string text;
  std::thread::id thread;
};

/// A message that was sent to the engine.
struct SentMessage {
  std::string channel;
  std::optional<Bytes> bytes;  // empty optional: a null pointer
  bool wants_reply = false;
  bool replied = false;
};

/// A texture as it was registered; the record is a copy.
struct Texture {
  FlutterDesktopTextureInfo info = {};
  bool registered = true;  // until it is unregistered
  bool let_go = false;     // the engine has let go of it, and fired the completion callback if there was one
  int marks = 0;           // frames announced so far
};

/// What became of a message that was delivered; the answer may come after Deliver has returned.
///
/// Thread   any.
class Reply {
 public:
  struct State;
  explicit Reply(std::shared_ptr<const State> state) : state_(std::move(state)) {}

  /// False when there was no callback for the channel, or no registrar any more.
  bool delivered() const;
  bool answered() const;
  /// The first answer: the empty optional for a null pointer, and while there is none.
  std::optional<Bytes> bytes() const;

 private:
  std::shared_ptr<const State> state_;
};

/// One engine with one plug-in registrar, its messenger and its texture registrar; several may exist at once.
///
/// It objects to bad manners with complaints(), which a test looks at last, after DestroyRegistrar():
///   - a second answer to one message, an answer to an unknown one, or to one whose registrar is gone;
///   - a mark or an unregistering of an id that is not registered;
///   - a call of a registrar or messenger function off the platform thread;
///   - any call after DestroyRegistrar() has returned;
///   - a null channel name, callback or texture record, and null data with a size;
///   - a GPU surface record of another size than the real one;
///   - a handle that no living embedder owns. Each living one complains then.
///
/// Thread   the one that creates the embedder is its platform thread: it delivers, destroys and replies. The
///          rest may be called from any thread.
/// Lock     none is held while functions of the plug-in or of the test run.
/// Lifetime the destructor calls DestroyRegistrar(). Handles are numbers that never come again; nothing lies
///          where they point.
/// Failure  a call that makes no sense in a test, such as an unknown texture id, throws std::logic_error. A
///          complaint that nobody can read any more ends the program: one that complaints() has not returned
///          when the embedder dies, or one about a handle while no embedder lives.
class FakeEmbedder {
 public:
  /// `first_texture_id` is the id of the first texture registered; the next ones count up from it.
  explicit FakeEmbedder(int64_t first_texture_id = 1);
  ~FakeEmbedder();
  FakeEmbedder(const FakeEmbedder&) = delete;
  FakeEmbedder& operator=(const FakeEmbedder&) = delete;

  FlutterDesktopPluginRegistrarRef registrar() const;

  /// Runs the destruction handler, while messenger and textures still work, and closes them; the second time
  /// nothing happens.
  void DestroyRegistrar();

  // ---- What was done ----------------------------------------------------------------------------

  /// Every complaint since the start, in order: "MessengerSendResponse: second answer to message 1".
  std::vector<std::string> complaints() const;

  /// Every call since the start or the last ClearCalls(), in order.
  std::vector<Call> calls() const;
  /// The same as text.
  std::vector<std::string> call_texts() const;
  /// The same without the frame marks, which come whenever the render thread pleases.
  std::vector<std::string> call_texts_without_marks() const;
  void ClearCalls();

  /// Calls `hook` on the calling thread at the start of each call of the C interface, before it has its effect; the
  /// hook may not use the embedder. An empty one ends that.
  void SetCallHook(std::function<void(const Call& call)> hook);

  // ---- Messages from the engine -----------------------------------------------------------------

  /// Hands a message to the channel's callback, which may answer at once or later.
  ///
  /// Lifetime the bytes, the channel name and the record are heap blocks of exactly their sizes, gone when
  ///          the callback returns. No bytes: a null pointer.
  /// Failure  what the callback throws comes out; last_reply() has the reply then.
  Reply Deliver(const std::string& channel, const Bytes& message);

  /// The reply of the latest Deliver().
  Reply last_reply() const;

  // ---- Messages to the engine -------------------------------------------------------------------

  std::vector<SentMessage> sent_messages() const;

  /// Answers sent_messages()[index]; the empty optional is a null pointer.
  ///
  /// Failure  std::logic_error: no such message, none that wants a reply, or one that has had its reply.
  void ReplyToSent(size_t index, const std::optional<Bytes>& reply);

  // ---- Textures ---------------------------------------------------------------------------------

  /// While on, registering a texture gives -1.
  void RefuseTextures(bool refuse);

  /// The ids given so far, in order, of unregistered textures too.
  std::vector<int64_t> texture_ids() const;
  Texture texture(int64_t id) const;

  /// Asks for a frame on the calling thread, as the raster thread does; the callback's result as it is.
  ///
  /// Lifetime also works after unregistering, until the engine lets go of the texture.
  /// Failure  std::logic_error: no pixel-buffer texture, or let go of.
  const FlutterDesktopPixelBuffer* FetchFrame(int64_t id, size_t width, size_t height) const;

  /// The engine lets go of an unregistered texture; fires the completion callback when there is one.
  ///
  /// Failure  std::logic_error: still registered, or let go of already.
  void LetGoOfTexture(int64_t id);

  /// Waits until `count` frames of the texture have been announced in all; false when the time is over. That is long
  /// enough for the first frames of a software driver on a busy machine that emulates its processor.
  [[nodiscard]] bool WaitForMarks(int64_t id, int count,
                                  std::chrono::milliseconds timeout = std::chrono::minutes(10)) const;

  /// Calls `hook` on the marking thread after each mark of a registered texture has been counted; a hook that
  /// waits holds that thread there.
  void SetMarkHook(std::function<void(int64_t id)> hook);

  class Impl;

 private:
  std::shared_ptr<Impl> impl_;  // a call on another thread may outlast the embedder
};

}  // namespace fakes
#pragma GCC visibility pop

#endif  // TEST_FAKES_FAKE_EMBEDDER_H_
