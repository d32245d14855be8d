#include "host/embedder.h"

#include <condition_variable>
#include <exception>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>

#include "host/host_error.h"

// ---- The handles, by the names that the C interface gives them --------------------------------------------

struct FlutterDesktopMessageResponseHandle {
  std::optional<std::vector<uint8_t>> answer;
  bool awaited = true;  // the message is still being delivered
};

// Platform thread only.
struct FlutterDesktopMessenger {
  struct Handler {
    FlutterDesktopMessageCallback callback;
    void* user_data;
  };

  std::optional<std::vector<uint8_t>> Deliver(const std::string& channel, const std::vector<uint8_t>& message);

  std::map<std::string, Handler> handlers;
  // Messages under way. A handle whose message got no answer stays until it does, so that a late answer is
  // never taken for that to another message.
  std::map<const FlutterDesktopMessageResponseHandle*, std::unique_ptr<FlutterDesktopMessageResponseHandle>> open;
};

struct FlutterDesktopTextureRegistrar {
  explicit FlutterDesktopTextureRegistrar(host::Embedder::FrameSink frame_sink)
      : on_frame(std::move(frame_sink)), raster_thread([this] { Raster(); }) {}
  ~FlutterDesktopTextureRegistrar() { StopRaster(); }

  int64_t Register(const FlutterDesktopTextureInfo& info);
  bool Mark(int64_t texture_id);
  void Unregister(int64_t texture_id);
  void Show(int64_t texture_id, int width, int height);
  void StopRaster();

  struct Texture {
    FlutterDesktopPixelBufferTextureConfig config = {};
    size_t width = 0;  // on screen; 0: it is not shown
    size_t height = 0;
    bool ready = false;  // it has been fetched once
  };

  static constexpr int64_t kNoTexture = -1;

  const host::Embedder::FrameSink on_frame;

  mutable std::mutex mutex;
  // Guarded by `mutex`.
  std::map<int64_t, Texture> textures;
  int64_t next_id = 1;
  std::set<int64_t> wanted;  // textures to fetch
  int64_t fetching = kNoTexture;
  bool stop = false;
  std::string failure;  // why the raster thread fetches no more; empty while it does
  uint64_t frames_marked = 0;
  uint64_t frames_fetched = 0;
  std::condition_variable work;     // `wanted` or `stop` changed
  std::condition_variable fetched;  // `fetching` was reset

  std::thread raster_thread;  // last: it uses all of the above

 private:
  void Raster();
  static std::shared_ptr<host::Frame> Fetch(const Texture& texture);
};

struct FlutterDesktopPluginRegistrar {
  explicit FlutterDesktopPluginRegistrar(host::Embedder::FrameSink on_frame) : textures(std::move(on_frame)) {}

  FlutterDesktopMessenger messenger;
  FlutterDesktopTextureRegistrar textures;
  FlutterDesktopOnPluginRegistrarDestroyed on_destroyed = nullptr;
};

// ---- Messages ---------------------------------------------------------------------------------------------

std::optional<std::vector<uint8_t>> FlutterDesktopMessenger::Deliver(const std::string& channel,
                                                                     const std::vector<uint8_t>& message) {
  const auto found = handlers.find(channel);
  if (found == handlers.end()) return std::nullopt;
  const Handler handler = found->second;  // a copy: the handler may replace itself while it runs

  auto owned_handle = std::make_unique<FlutterDesktopMessageResponseHandle>();
  const FlutterDesktopMessageResponseHandle* const handle = owned_handle.get();
  open.emplace(handle, std::move(owned_handle));

  FlutterDesktopMessage record = {};
  record.struct_size = sizeof(record);
  record.channel = channel.c_str();
  record.message = message.data();
  record.message_size = message.size();
  record.response_handle = handle;
  try {
    handler.callback(this, &record, handler.user_data);
  } catch (...) {
    open.at(handle)->awaited = false;
    throw;
  }

  const auto delivered = open.find(handle);
  if (!delivered->second->answer) {
    delivered->second->awaited = false;
    return std::nullopt;
  }
  std::optional<std::vector<uint8_t>> answer = std::move(delivered->second->answer);
  open.erase(delivered);
  return answer;
}

// ---- Textures ---------------------------------------------------------------------------------------------

int64_t FlutterDesktopTextureRegistrar::Register(const FlutterDesktopTextureInfo& info) {
  if (info.type != kFlutterDesktopPixelBufferTexture) return kNoTexture;
  const std::lock_guard<std::mutex> lock(mutex);
  const int64_t texture_id = next_id++;
  textures[texture_id].config = info.pixel_buffer_config;
  return texture_id;
}

bool FlutterDesktopTextureRegistrar::Mark(int64_t texture_id) {
  const std::lock_guard<std::mutex> lock(mutex);
  const auto texture = textures.find(texture_id);
  if (texture == textures.end()) return false;
  if (texture->second.ready) {
    ++frames_marked;
    wanted.insert(texture_id);
    work.notify_one();
  }
  return true;
}

void FlutterDesktopTextureRegistrar::Unregister(int64_t texture_id) {
  std::unique_lock<std::mutex> lock(mutex);
  textures.erase(texture_id);
  wanted.erase(texture_id);
  // The plug-in frees the pixels right after this call. An engine would still be copying them, or not; here
  // it never is.
  fetched.wait(lock, [&] { return fetching != texture_id; });
}

void FlutterDesktopTextureRegistrar::Show(int64_t texture_id, int width, int height) {
  std::unique_lock<std::mutex> lock(mutex);
  const auto texture = textures.find(texture_id);
  if (texture == textures.end()) throw host::HostError("there is no texture " + std::to_string(texture_id));
  texture->second.width = static_cast<size_t>(width);
  texture->second.height = static_cast<size_t>(height);
  wanted.insert(texture_id);
  work.notify_one();
  fetched.wait(lock,
               [&] { return stop || !failure.empty() || (wanted.count(texture_id) == 0 && fetching != texture_id); });
  if (!failure.empty()) throw host::HostError(failure);
  if (!texture->second.ready) throw host::HostError("the plug-in hands out no pixels for its texture");
}

void FlutterDesktopTextureRegistrar::StopRaster() {
  {
    const std::lock_guard<std::mutex> lock(mutex);
    stop = true;
  }
  work.notify_one();
  if (raster_thread.joinable()) raster_thread.join();
}

void FlutterDesktopTextureRegistrar::Raster() {
  std::unique_lock<std::mutex> lock(mutex);
  for (;;) {
    work.wait(lock, [this] { return stop || !wanted.empty(); });
    if (stop) return;
    fetching = *wanted.begin();
    wanted.erase(wanted.begin());
    const Texture texture = textures.at(fetching);

    // Without the lock: the callback waits for the plug-in's own one, and the plug-in marks its next frame
    // meanwhile.
    lock.unlock();
    std::shared_ptr<host::Frame> frame;
    std::string error;
    try {
      frame = Fetch(texture);
    } catch (const std::exception& exception) {
      error = std::string("the plug-in's pixel-buffer callback threw: ") + exception.what();
    } catch (...) {
      error = "the plug-in's pixel-buffer callback threw something that is no std::exception";
    }
    lock.lock();

    const auto registered = textures.find(fetching);
    if (frame && registered != textures.end()) registered->second.ready = true;
    fetching = kNoTexture;
    failure = error;
    fetched.notify_all();
    if (!failure.empty()) return;
    if (frame && texture.ready) {
      lock.unlock();
      on_frame(std::move(frame));
      lock.lock();
      ++frames_fetched;
    }
  }
}

std::shared_ptr<host::Frame> FlutterDesktopTextureRegistrar::Fetch(const Texture& texture) {
  const FlutterDesktopPixelBuffer* const pixels =
      texture.config.callback(texture.width, texture.height, texture.config.user_data);
  if (pixels == nullptr || pixels->buffer == nullptr) return nullptr;
  auto frame = std::make_shared<host::Frame>();
  frame->width = static_cast<int>(pixels->width);
  frame->height = static_cast<int>(pixels->height);
  // At once: the plug-in has one buffer, and reads its next frame into it without asking whether this is
  // done.
  frame->rgba.assign(pixels->buffer, pixels->buffer + pixels->width * pixels->height * 4);
  frame->fetched_at = std::chrono::steady_clock::now();
  if (pixels->release_callback != nullptr) pixels->release_callback(pixels->release_context);
  return frame;
}

// ---- Embedder ---------------------------------------------------------------------------------------------

namespace host {

Embedder::Embedder(FrameSink on_frame)
    : registrar_(std::make_unique<FlutterDesktopPluginRegistrar>(std::move(on_frame))) {}

Embedder::~Embedder() {
  StopRaster();
  DestroyRegistrar();
}

std::optional<std::vector<uint8_t>> Embedder::Deliver(const std::string& channel, const std::vector<uint8_t>& message) {
  return registrar_->messenger.Deliver(channel, message);
}

void Embedder::ShowTexture(int64_t texture_id, int width, int height) {
  registrar_->textures.Show(texture_id, width, height);
}

void Embedder::CheckRaster() const {
  const std::lock_guard<std::mutex> lock(registrar_->textures.mutex);
  if (!registrar_->textures.failure.empty()) throw HostError(registrar_->textures.failure);
}

void Embedder::StopRaster() { registrar_->textures.StopRaster(); }

void Embedder::DestroyRegistrar() {
  const FlutterDesktopOnPluginRegistrarDestroyed on_destroyed = std::exchange(registrar_->on_destroyed, nullptr);
  if (on_destroyed != nullptr) on_destroyed(registrar_.get());
}

uint64_t Embedder::frames_marked() const {
  const std::lock_guard<std::mutex> lock(registrar_->textures.mutex);
  return registrar_->textures.frames_marked;
}

uint64_t Embedder::frames_fetched() const {
  const std::lock_guard<std::mutex> lock(registrar_->textures.mutex);
  return registrar_->textures.frames_fetched;
}

}  // namespace host

// ---- The C interface --------------------------------------------------------------------------------------

extern "C" {

FlutterDesktopMessengerRef FlutterDesktopPluginRegistrarGetMessenger(FlutterDesktopPluginRegistrarRef registrar) {
  return &registrar->messenger;
}

FlutterDesktopTextureRegistrarRef FlutterDesktopRegistrarGetTextureRegistrar(
    FlutterDesktopPluginRegistrarRef registrar) {
  return &registrar->textures;
}

void FlutterDesktopPluginRegistrarSetDestructionHandler(FlutterDesktopPluginRegistrarRef registrar,
                                                        FlutterDesktopOnPluginRegistrarDestroyed callback) {
  registrar->on_destroyed = callback;
}

// There is no application that listens; as with an engine, that is no error.
bool FlutterDesktopMessengerSend(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t) { return true; }

// An engine answers a message that nobody listens to with no bytes.
bool FlutterDesktopMessengerSendWithReply(FlutterDesktopMessengerRef, const char*, const uint8_t*, size_t,
                                          FlutterDesktopBinaryReply reply, void* user_data) {
  if (reply != nullptr) reply(nullptr, 0, user_data);
  return true;
}

void FlutterDesktopMessengerSendResponse(FlutterDesktopMessengerRef messenger,
                                         const FlutterDesktopMessageResponseHandle* handle, const uint8_t* data,
                                         size_t data_length) {
  const auto open = messenger->open.find(handle);
  if (open == messenger->open.end() || open->second->answer) return;  // answered before: the first answer counts
  if (!open->second->awaited) {
    messenger->open.erase(open);
    return;
  }
  std::vector<uint8_t>& answer = open->second->answer.emplace();
  if (data != nullptr) answer.assign(data, data + data_length);
}

void FlutterDesktopMessengerSetCallback(FlutterDesktopMessengerRef messenger, const char* channel,
                                        FlutterDesktopMessageCallback callback, void* user_data) {
  if (callback == nullptr) {
    messenger->handlers.erase(channel);
  } else {
    messenger->handlers[channel] = {callback, user_data};
  }
}

int64_t FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                              const FlutterDesktopTextureInfo* info) {
  return texture_registrar->Register(*info);
}

bool FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(
    FlutterDesktopTextureRegistrarRef texture_registrar, int64_t texture_id) {
  return texture_registrar->Mark(texture_id);
}

void FlutterDesktopTextureRegistrarUnregisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                             int64_t texture_id, void (*callback)(void* user_data),
                                                             void* user_data) {
  texture_registrar->Unregister(texture_id);
  if (callback != nullptr) callback(user_data);
}

}  // extern "C"
