#include "fake_embedder.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "test/fakes/inside_a_fake.h"

namespace fakes {

// ---- Handles ------------------------------------------------------------------------------------

namespace {

// Handles are numbers that never come again, so that one of an earlier embedder is known for what it is. They
// point where no process has memory, on x86-64 and on AArch64.
std::atomic<uintptr_t> g_next_handle{0x00ff'0000'0000'0000};

template <typename Handle>
Handle NewHandle() {
  return reinterpret_cast<Handle>(g_next_handle.fetch_add(16));
}

struct LivingEmbedders {
  std::mutex mutex;
  std::vector<std::shared_ptr<FakeEmbedder::Impl>> embedders;
};

// Never destroyed: a plug-in may still call while the program ends.
LivingEmbedders& Living() {
  static auto* const living = new LivingEmbedders();
  return *living;
}

}  // namespace

// ---- Reply --------------------------------------------------------------------------------------

struct Reply::State {
  explicit State(int message_number) : number(message_number) {}

  const int number;  // counted from 1 in each embedder

  // Guarded by `mutex`.
  mutable std::mutex mutex;
  bool delivered = false;
  bool answered = false;
  std::optional<Bytes> bytes;
};

bool Reply::delivered() const {
  const std::lock_guard lock(state_->mutex);
  return state_->delivered;
}

bool Reply::answered() const {
  const std::lock_guard lock(state_->mutex);
  return state_->answered;
}

std::optional<Bytes> Reply::bytes() const {
  const std::lock_guard lock(state_->mutex);
  return state_->bytes;
}

// ---- Impl ---------------------------------------------------------------------------------------

namespace {

std::string PointerText(bool is_null, const char* otherwise) { return is_null ? "null" : otherwise; }

std::string ChannelText(const char* channel) { return channel == nullptr ? "null" : '"' + std::string(channel) + '"'; }

std::string DataText(const uint8_t* data, size_t size) {
  return data == nullptr ? "null" : std::to_string(size) + " bytes";
}

std::optional<Bytes> CopyData(const uint8_t* data, size_t size) {
  if (data == nullptr) return std::nullopt;
  return Bytes(data, data + size);
}

// A block of exactly its size, so that the address sanitizer sees a read past it; null for no bytes.
std::unique_ptr<uint8_t[]> ExactCopy(const uint8_t* data, size_t size) {
  if (size == 0) return nullptr;
  auto copy = std::make_unique<uint8_t[]>(size);
  std::copy_n(data, size, copy.get());
  return copy;
}

}  // namespace

class FakeEmbedder::Impl {
 public:
  explicit Impl(int64_t first_texture_id) : next_texture_id(first_texture_id) {}

  struct MessageCallback {
    FlutterDesktopMessageCallback callback;
    void* user_data;
  };
  struct SentRecord {
    SentMessage message;
    FlutterDesktopBinaryReply reply;
    void* user_data;
  };
  struct TextureRecord {
    Texture texture;
    void (*let_go_callback)(void* user_data) = nullptr;
    void* user_data = nullptr;
  };
  enum class From { kPlatformThread, kAnyThread };

  const FlutterDesktopPluginRegistrarRef registrar = NewHandle<FlutterDesktopPluginRegistrarRef>();
  const FlutterDesktopMessengerRef messenger = NewHandle<FlutterDesktopMessengerRef>();
  const FlutterDesktopTextureRegistrarRef texture_registrar = NewHandle<FlutterDesktopTextureRegistrarRef>();
  const std::thread::id platform_thread = std::this_thread::get_id();

  // Guarded by `mutex`, to the end.
  mutable std::mutex mutex;
  bool registrar_gone = false;
  FlutterDesktopOnPluginRegistrarDestroyed destruction_handler = nullptr;
  std::vector<Call> calls;
  std::vector<std::string> complaints;
  size_t complaints_read = 0;
  std::map<std::string, MessageCallback> callbacks;
  std::map<const FlutterDesktopMessageResponseHandle*, std::shared_ptr<Reply::State>> messages;
  std::shared_ptr<Reply::State> last_message;
  int message_count = 0;
  std::vector<SentRecord> sent;
  std::map<int64_t, TextureRecord> textures;
  int64_t next_texture_id;
  bool refuse_textures = false;
  std::function<void(int64_t)> mark_hook;
  std::function<void(const Call&)> call_hook;
  mutable std::condition_variable marked;

  void Complain(const std::string& function, const std::string& what) { complaints.push_back(function + ": " + what); }

  /// Notes a call, and complains of where and when it is made; false when there is nothing left to call.
  bool Enter(const std::string& function, const std::string& arguments, From from) {
    calls.push_back({function, function + '(' + arguments + ')', std::this_thread::get_id()});
    if (call_hook) call_hook(calls.back());
    if (from == From::kPlatformThread && std::this_thread::get_id() != platform_thread) {
      Complain(function, "not on the platform thread");
    }
    if (registrar_gone) Complain(function, "the registrar is gone");
    return !registrar_gone;
  }

  void CheckChannel(const std::string& function, const char* channel) {
    if (channel == nullptr) Complain(function, "null channel name");
  }

  void CheckData(const std::string& function, const uint8_t* data, size_t size) {
    if (data == nullptr && size != 0) Complain(function, "null data of " + std::to_string(size) + " bytes");
  }

  TextureRecord& FindTexture(int64_t id) {
    const auto found = textures.find(id);
    if (found == textures.end()) throw std::logic_error("no texture was ever registered with this id");
    return found->second;
  }

  /// The registered texture, or null with a complaint.
  TextureRecord* RegisteredTexture(const std::string& function, int64_t id) {
    const auto found = textures.find(id);
    if (found != textures.end() && found->second.texture.registered) return &found->second;
    Complain(function, "texture " + std::to_string(id) + " is not registered");
    return nullptr;
  }

  bool Send(const char* function, const char* channel, const uint8_t* data, size_t size, bool wants_reply,
            FlutterDesktopBinaryReply reply, void* user_data) {
    if (!Enter(function, ChannelText(channel) + ", " + DataText(data, size), From::kPlatformThread)) return false;
    CheckChannel(function, channel);
    CheckData(function, data, size);
    if (wants_reply && reply == nullptr) Complain(function, "null reply callback");
    sent.push_back({{channel == nullptr ? "" : channel, CopyData(data, size), wants_reply}, reply, user_data});
    return true;
  }
};

// ---- FakeEmbedder -------------------------------------------------------------------------------

FakeEmbedder::FakeEmbedder(int64_t first_texture_id) : impl_(std::make_shared<Impl>(first_texture_id)) {
  const std::lock_guard lock(Living().mutex);
  Living().embedders.push_back(impl_);
}

FakeEmbedder::~FakeEmbedder() {
  DestroyRegistrar();
  {
    const std::lock_guard lock(Living().mutex);
    auto& embedders = Living().embedders;
    embedders.erase(std::find(embedders.begin(), embedders.end(), impl_));
  }
  const std::lock_guard lock(impl_->mutex);
  if (impl_->complaints_read == impl_->complaints.size()) return;
  std::string unread = "Complaints of a FakeEmbedder that its test did not look at:\n";
  for (size_t i = impl_->complaints_read; i < impl_->complaints.size(); ++i) unread += impl_->complaints[i] + '\n';
  std::fputs(unread.c_str(), stderr);
  std::abort();
}

FlutterDesktopPluginRegistrarRef FakeEmbedder::registrar() const { return impl_->registrar; }

void FakeEmbedder::DestroyRegistrar() {
  FlutterDesktopOnPluginRegistrarDestroyed handler = nullptr;
  {
    const std::lock_guard lock(impl_->mutex);
    std::swap(handler, impl_->destruction_handler);
  }
  if (handler != nullptr) handler(impl_->registrar);
  const std::lock_guard lock(impl_->mutex);
  impl_->registrar_gone = true;
  impl_->callbacks.clear();
}

std::vector<std::string> FakeEmbedder::complaints() const {
  const std::lock_guard lock(impl_->mutex);
  impl_->complaints_read = impl_->complaints.size();
  return impl_->complaints;
}

std::vector<Call> FakeEmbedder::calls() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->calls;
}

std::vector<std::string> FakeEmbedder::call_texts() const {
  std::vector<std::string> texts;
  for (Call& call : calls()) texts.push_back(std::move(call.text));
  return texts;
}

std::vector<std::string> FakeEmbedder::call_texts_without_marks() const {
  std::vector<std::string> texts;
  for (Call& call : calls()) {
    if (call.function != "TextureRegistrarMarkExternalTextureFrameAvailable") texts.push_back(std::move(call.text));
  }
  return texts;
}

void FakeEmbedder::ClearCalls() {
  const std::lock_guard lock(impl_->mutex);
  impl_->calls.clear();
}

Reply FakeEmbedder::Deliver(const std::string& channel, const Bytes& message) {
  const InsideAFake inside;
  const auto handle = NewHandle<const FlutterDesktopMessageResponseHandle*>();
  std::shared_ptr<Reply::State> state;
  Impl::MessageCallback callback = {};
  {
    const std::lock_guard lock(impl_->mutex);
    state = std::make_shared<Reply::State>(++impl_->message_count);
    impl_->last_message = state;
    const auto found = impl_->callbacks.find(channel);
    if (found == impl_->callbacks.end()) return Reply(state);
    callback = found->second;
    state->delivered = true;
    impl_->messages.emplace(handle, state);
  }
  const auto data = ExactCopy(message.data(), message.size());
  const auto name = ExactCopy(reinterpret_cast<const uint8_t*>(channel.c_str()), channel.size() + 1);
  const auto record = std::make_unique<FlutterDesktopMessage>();
  record->struct_size = sizeof(FlutterDesktopMessage);
  record->channel = reinterpret_cast<const char*>(name.get());
  record->message = data.get();
  record->message_size = message.size();
  record->response_handle = handle;
  {
    const OutsideTheFakes outside;
    callback.callback(impl_->messenger, record.get(), callback.user_data);
  }
  return Reply(state);
}

Reply FakeEmbedder::last_reply() const {
  const std::lock_guard lock(impl_->mutex);
  if (!impl_->last_message) throw std::logic_error("no message has been delivered");
  return Reply(impl_->last_message);
}

std::vector<SentMessage> FakeEmbedder::sent_messages() const {
  const std::lock_guard lock(impl_->mutex);
  std::vector<SentMessage> messages;
  for (const Impl::SentRecord& record : impl_->sent) messages.push_back(record.message);
  return messages;
}

void FakeEmbedder::ReplyToSent(size_t index, const std::optional<Bytes>& reply) {
  FlutterDesktopBinaryReply callback = nullptr;
  void* user_data = nullptr;
  {
    const std::lock_guard lock(impl_->mutex);
    if (index >= impl_->sent.size()) throw std::logic_error("no such message was sent");
    Impl::SentRecord& record = impl_->sent[index];
    if (record.reply == nullptr || record.message.replied) throw std::logic_error("the message awaits no reply");
    record.message.replied = true;
    callback = record.reply;
    user_data = record.user_data;
  }
  if (!reply.has_value()) {
    callback(nullptr, 0, user_data);
    return;
  }
  // Not ExactCopy: a reply of no bytes shall differ from the null pointer.
  const auto data = std::make_unique<uint8_t[]>(reply->size());
  std::copy(reply->begin(), reply->end(), data.get());
  callback(data.get(), reply->size(), user_data);
}

void FakeEmbedder::RefuseTextures(bool refuse) {
  const std::lock_guard lock(impl_->mutex);
  impl_->refuse_textures = refuse;
}

std::vector<int64_t> FakeEmbedder::texture_ids() const {
  const std::lock_guard lock(impl_->mutex);
  std::vector<int64_t> ids;
  for (const auto& [id, record] : impl_->textures) ids.push_back(id);
  return ids;
}

Texture FakeEmbedder::texture(int64_t id) const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->FindTexture(id).texture;
}

const FlutterDesktopPixelBuffer* FakeEmbedder::FetchFrame(int64_t id, size_t width, size_t height) const {
  const Texture fetched = texture(id);
  if (fetched.info.type != kFlutterDesktopPixelBufferTexture) throw std::logic_error("not a pixel-buffer texture");
  if (fetched.let_go) throw std::logic_error("the engine has let go of the texture");
  const FlutterDesktopPixelBufferTextureConfig& config = fetched.info.pixel_buffer_config;
  return config.callback(width, height, config.user_data);
}

void FakeEmbedder::LetGoOfTexture(int64_t id) {
  void (*callback)(void*) = nullptr;
  void* user_data = nullptr;
  {
    const std::lock_guard lock(impl_->mutex);
    Impl::TextureRecord& record = impl_->FindTexture(id);
    if (record.texture.registered) throw std::logic_error("the texture is still registered");
    if (record.texture.let_go) throw std::logic_error("the engine has let go of the texture before");
    record.texture.let_go = true;
    callback = record.let_go_callback;
    user_data = record.user_data;
  }
  if (callback != nullptr) callback(user_data);
}

bool FakeEmbedder::WaitForMarks(int64_t id, int count, std::chrono::milliseconds timeout) const {
  std::unique_lock lock(impl_->mutex);
  const Texture& awaited = impl_->FindTexture(id).texture;
  return impl_->marked.wait_for(lock, timeout, [&] { return awaited.marks >= count; });
}

void FakeEmbedder::SetCallHook(std::function<void(const Call& call)> hook) {
  const std::lock_guard lock(impl_->mutex);
  impl_->call_hook = std::move(hook);
}

void FakeEmbedder::SetMarkHook(std::function<void(int64_t id)> hook) {
  const std::lock_guard lock(impl_->mutex);
  impl_->mark_hook = std::move(hook);
}

}  // namespace fakes

// ---- The C interface ----------------------------------------------------------------------------

namespace {

using namespace fakes;
using Impl = fakes::FakeEmbedder::Impl;

/// One call of the interface, in the embedder whose handle it was given. That is locked meanwhile.
class ApiCall {
 public:
  template <typename Handle>
  ApiCall(Handle handle, const Handle Impl::*member, const char* function)
      : function_(function), embedder_(OwnerOf(handle, member)) {
    if (embedder_) lock_ = std::unique_lock(embedder_->mutex);
  }

  /// False, with a complaint, when no embedder that lives has the handle.
  explicit operator bool() const { return embedder_ != nullptr; }
  Impl* operator->() const { return embedder_.get(); }
  const char* function() const { return function_; }

  /// See Impl; also false without an embedder.
  bool Enter(const std::string& arguments, Impl::From from) {
    return embedder_ && embedder_->Enter(function_, arguments, from);
  }
  void Complain(const std::string& what) { embedder_->Complain(function_, what); }
  void Unlock() { lock_.unlock(); }

 private:
  template <typename Handle>
  std::shared_ptr<Impl> OwnerOf(Handle handle, const Handle Impl::*member) const {
    const std::lock_guard lock(Living().mutex);
    for (const auto& embedder : Living().embedders) {
      if ((*embedder).*member == handle) return embedder;
    }
    const std::string what = "a handle that no living embedder owns";
    if (Living().embedders.empty()) {
      std::fputs((std::string(function_) + ": " + what + '\n').c_str(), stderr);
      std::abort();
    }
    for (const auto& embedder : Living().embedders) {
      const std::lock_guard embedder_lock(embedder->mutex);
      embedder->Complain(function_, what);
    }
    return nullptr;
  }

  const InsideAFake inside_;
  const char* const function_;
  const std::shared_ptr<Impl> embedder_;
  std::unique_lock<std::mutex> lock_;
};

constexpr auto kPlatformThread = Impl::From::kPlatformThread;
constexpr auto kAnyThread = Impl::From::kAnyThread;

const char* TextureKind(const FlutterDesktopTextureInfo& info) {
  switch (info.type) {
    case kFlutterDesktopPixelBufferTexture: return "pixel buffer";
    case kFlutterDesktopGpuSurfaceTexture: return "GPU surface";
    case kFlutterDesktopEGLImageTexture: return "EGL image";
  }
  return "unknown kind";
}

bool HasCallback(const FlutterDesktopTextureInfo& info) {
  switch (info.type) {
    case kFlutterDesktopPixelBufferTexture: return info.pixel_buffer_config.callback != nullptr;
    case kFlutterDesktopGpuSurfaceTexture: return info.gpu_surface_config.callback != nullptr;
    case kFlutterDesktopEGLImageTexture: return info.egl_image_config.callback != nullptr;
  }
  return false;
}

}  // namespace

extern "C" {

FlutterDesktopMessengerRef FlutterDesktopPluginRegistrarGetMessenger(FlutterDesktopPluginRegistrarRef registrar) {
  ApiCall call(registrar, &Impl::registrar, "PluginRegistrarGetMessenger");
  return call.Enter("", kPlatformThread) ? call->messenger : nullptr;
}

FlutterDesktopTextureRegistrarRef FlutterDesktopRegistrarGetTextureRegistrar(
    FlutterDesktopPluginRegistrarRef registrar) {
  ApiCall call(registrar, &Impl::registrar, "RegistrarGetTextureRegistrar");
  return call.Enter("", kPlatformThread) ? call->texture_registrar : nullptr;
}

void FlutterDesktopPluginRegistrarSetDestructionHandler(FlutterDesktopPluginRegistrarRef registrar,
                                                        FlutterDesktopOnPluginRegistrarDestroyed callback) {
  ApiCall call(registrar, &Impl::registrar, "PluginRegistrarSetDestructionHandler");
  if (call.Enter(PointerText(callback == nullptr, "callback"), kPlatformThread)) call->destruction_handler = callback;
}

bool FlutterDesktopMessengerSend(FlutterDesktopMessengerRef messenger, const char* channel, const uint8_t* message,
                                 size_t message_size) {
  ApiCall call(messenger, &Impl::messenger, "MessengerSend");
  return call && call->Send(call.function(), channel, message, message_size, false, nullptr, nullptr);
}

bool FlutterDesktopMessengerSendWithReply(FlutterDesktopMessengerRef messenger, const char* channel,
                                          const uint8_t* message, size_t message_size, FlutterDesktopBinaryReply reply,
                                          void* user_data) {
  ApiCall call(messenger, &Impl::messenger, "MessengerSendWithReply");
  return call && call->Send(call.function(), channel, message, message_size, true, reply, user_data);
}

void FlutterDesktopMessengerSendResponse(FlutterDesktopMessengerRef messenger,
                                         const FlutterDesktopMessageResponseHandle* handle, const uint8_t* data,
                                         size_t data_length) {
  ApiCall call(messenger, &Impl::messenger, "MessengerSendResponse");
  if (!call) return;
  const auto found = call->messages.find(handle);
  const bool known = found != call->messages.end();
  const std::string message = known ? "message " + std::to_string(found->second->number) : "unknown message";
  if (!call.Enter(message + ", " + DataText(data, data_length), kPlatformThread)) return;
  call->CheckData(call.function(), data, data_length);
  if (!known) return call.Complain("unknown message");
  const auto& state = found->second;
  const std::lock_guard state_lock(state->mutex);
  if (state->answered) return call.Complain("second answer to " + message);
  state->answered = true;
  state->bytes = CopyData(data, data_length);
}

void FlutterDesktopMessengerSetCallback(FlutterDesktopMessengerRef messenger, const char* channel,
                                        FlutterDesktopMessageCallback callback, void* user_data) {
  ApiCall call(messenger, &Impl::messenger, "MessengerSetCallback");
  const std::string arguments = ChannelText(channel) + ", " + PointerText(callback == nullptr, "callback") + ", " +
                                PointerText(user_data == nullptr, "user data");
  if (!call.Enter(arguments, kPlatformThread)) return;
  call->CheckChannel(call.function(), channel);
  if (channel == nullptr) return;
  call->callbacks.erase(channel);
  if (callback != nullptr) call->callbacks[channel] = {callback, user_data};
}

int64_t FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                              const FlutterDesktopTextureInfo* info) {
  ApiCall call(texture_registrar, &Impl::texture_registrar, "TextureRegistrarRegisterExternalTexture");
  if (!call.Enter(info == nullptr ? "null" : TextureKind(*info), kAnyThread)) return -1;
  int64_t id = -1;
  if (info == nullptr) {
    call.Complain("null record");
  } else if (!HasCallback(*info)) {
    call.Complain("null callback");
  } else if (info->type == kFlutterDesktopGpuSurfaceTexture &&
             info->gpu_surface_config.struct_size != sizeof(FlutterDesktopGpuSurfaceTextureConfig)) {
    call.Complain("a GPU surface record of " + std::to_string(info->gpu_surface_config.struct_size) + " bytes");
  } else if (!call->refuse_textures) {
    id = call->next_texture_id++;
    call->textures[id].texture.info = *info;
  }
  call->calls.back().text += " = " + std::to_string(id);
  return id;
}

bool FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(
    FlutterDesktopTextureRegistrarRef texture_registrar, int64_t texture_id) {
  ApiCall call(texture_registrar, &Impl::texture_registrar, "TextureRegistrarMarkExternalTextureFrameAvailable");
  if (!call.Enter(std::to_string(texture_id), kAnyThread)) return false;
  Impl::TextureRecord* const record = call->RegisteredTexture(call.function(), texture_id);
  if (record == nullptr) return false;
  ++record->texture.marks;
  call->marked.notify_all();
  const std::function<void(int64_t)> hook = call->mark_hook;
  call.Unlock();
  if (hook) hook(texture_id);
  return true;
}

void FlutterDesktopTextureRegistrarUnregisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                             int64_t texture_id, void (*callback)(void* user_data),
                                                             void* user_data) {
  ApiCall call(texture_registrar, &Impl::texture_registrar, "TextureRegistrarUnregisterExternalTexture");
  const std::string arguments = std::to_string(texture_id) + ", " + PointerText(callback == nullptr, "callback") +
                                ", " + PointerText(user_data == nullptr, "user data");
  if (!call.Enter(arguments, kAnyThread)) return;
  Impl::TextureRecord* const record = call->RegisteredTexture(call.function(), texture_id);
  if (record == nullptr) return;
  record->texture.registered = false;
  record->let_go_callback = callback;
  record->user_data = user_data;
}

}  // extern "C"
