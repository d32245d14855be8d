#include <memory>
#include <utility>
#include <variant>

#include "binary_messenger_impl.h"
#include "error_line.h"
#include "flutter/engine_method_result.h"
#include "flutter/method_channel.h"
#include "texture_registrar_impl.h"

namespace flutter {

// ---- BinaryMessengerImpl -----------------------------------------------------------------------------------

void BinaryMessengerImpl::Send(const std::string& channel, const uint8_t* message, size_t message_size,
                               BinaryReply reply) const {
  if (!reply) {
    FlutterDesktopMessengerSend(messenger_, channel.c_str(), message, message_size);
    return;
  }
  const auto call_and_delete = [](const uint8_t* data, size_t data_size, void* user_data) {
    const std::unique_ptr<BinaryReply> owned_reply(static_cast<BinaryReply*>(user_data));
    (*owned_reply)(data, data_size);
  };
  FlutterDesktopMessengerSendWithReply(messenger_, channel.c_str(), message, message_size, call_and_delete,
                                       new BinaryReply(std::move(reply)));
}

void BinaryMessengerImpl::SetMessageHandler(const std::string& channel, BinaryMessageHandler handler) {
  if (!handler) {
    handlers_.erase(channel);
    FlutterDesktopMessengerSetCallback(messenger_, channel.c_str(), nullptr, nullptr);
    return;
  }
  SharedHandler& stored = handlers_[channel];
  stored = std::make_shared<const BinaryMessageHandler>(std::move(handler));
  FlutterDesktopMessengerSetCallback(messenger_, channel.c_str(), ForwardToHandler, &stored);
}

void BinaryMessengerImpl::ForwardToHandler(FlutterDesktopMessengerRef messenger, const FlutterDesktopMessage* message,
                                           void* user_data) {
  const SharedHandler handler = *static_cast<SharedHandler*>(user_data);
  // Shared by all copies of the reply: whichever answers first takes the handle.
  auto handle = std::make_shared<const FlutterDesktopMessageResponseHandle*>(message->response_handle);
  (*handler)(message->message, message->message_size,
             [messenger, handle = std::move(handle)](const uint8_t* reply, size_t reply_size) {
               if (*handle == nullptr) {
                 internal::WriteErrorLine("Error: Response can be set only once. Ignoring duplicate response.");
                 return;
               }
               FlutterDesktopMessengerSendResponse(messenger, std::exchange(*handle, nullptr), reply, reply_size);
             });
}

// ---- Method results ----------------------------------------------------------------------------------------

namespace internal {

ReplyManager::ReplyManager(BinaryReply reply) : reply_(std::move(reply)) {}

ReplyManager::~ReplyManager() {
  // It may be for want of memory that there was no answer: the line must not need any.
  if (reply_) WriteFinishedErrorLine("Warning: Failed to respond to a message. This is a memory leak.\n");
}

void ReplyManager::SendResponseData(const std::vector<uint8_t>* data) {
  if (!reply_) {
    WriteErrorLine(
        "Error: Only one of Success, Error, or NotImplemented can be called,"
        " and it can be called exactly once. Ignoring duplicate result.");
    return;
  }
  const bool has_bytes = data != nullptr && !data->empty();
  reply_(has_bytes ? data->data() : nullptr, has_bytes ? data->size() : 0);
  reply_ = nullptr;
}

void ReportUndecodableCall(const std::string& channel) {
  WriteErrorLine("Unable to construct method call from message on channel " + channel);
}

}  // namespace internal

// ---- TextureRegistrarImpl ----------------------------------------------------------------------------------

namespace {

void Describe(const PixelBufferTexture* texture, FlutterDesktopTextureInfo* info) {
  info->type = kFlutterDesktopPixelBufferTexture;
  info->pixel_buffer_config.callback = [](size_t width, size_t height, void* user_data) {
    return static_cast<const PixelBufferTexture*>(user_data)->CopyPixelBuffer(width, height);
  };
  info->pixel_buffer_config.user_data = const_cast<PixelBufferTexture*>(texture);
}

void Describe(const GpuSurfaceTexture* texture, FlutterDesktopTextureInfo* info) {
  info->type = kFlutterDesktopGpuSurfaceTexture;
  info->gpu_surface_config.struct_size = sizeof(FlutterDesktopGpuSurfaceTextureConfig);
  info->gpu_surface_config.type = texture->surface_type();
  info->gpu_surface_config.callback = [](size_t width, size_t height, void* user_data) {
    return static_cast<const GpuSurfaceTexture*>(user_data)->ObtainDescriptor(width, height);
  };
  info->gpu_surface_config.user_data = const_cast<GpuSurfaceTexture*>(texture);
}

void Describe(const EGLImageTexture* texture, FlutterDesktopTextureInfo* info) {
  info->type = kFlutterDesktopEGLImageTexture;
  info->egl_image_config.callback = [](size_t width, size_t height, void* egl_display, void* egl_context,
                                       void* user_data) {
    return static_cast<const EGLImageTexture*>(user_data)->GetEGLImage(width, height, egl_display, egl_context);
  };
  info->egl_image_config.user_data = const_cast<EGLImageTexture*>(texture);
}

}  // namespace

int64_t TextureRegistrarImpl::RegisterTexture(TextureVariant* texture) {
  if (texture == nullptr || texture->valueless_by_exception()) {
    internal::WriteErrorLine("Attempting to register unknown texture variant.");
    return -1;
  }
  FlutterDesktopTextureInfo info = {};
  std::visit([&info](const auto& kind) { Describe(&kind, &info); }, *texture);
  return FlutterDesktopTextureRegistrarRegisterExternalTexture(registrar_, &info);
}

bool TextureRegistrarImpl::MarkTextureFrameAvailable(int64_t texture_id) {
  return FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(registrar_, texture_id);
}

void TextureRegistrarImpl::UnregisterTexture(int64_t texture_id, std::function<void()> callback) {
  if (!callback) {
    FlutterDesktopTextureRegistrarUnregisterExternalTexture(registrar_, texture_id, nullptr, nullptr);
    return;
  }
  const auto call_and_delete = [](void* user_data) {
    const std::unique_ptr<std::function<void()>> owned_callback(static_cast<std::function<void()>*>(user_data));
    (*owned_callback)();
  };
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(registrar_, texture_id, call_and_delete,
                                                          new std::function<void()>(std::move(callback)));
}

bool TextureRegistrarImpl::UnregisterTexture(int64_t texture_id) {
  FlutterDesktopTextureRegistrarUnregisterExternalTexture(registrar_, texture_id, nullptr, nullptr);
  return true;
}

}  // namespace flutter
