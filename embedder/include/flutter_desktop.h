// The C interface of the Flutter embedder for embedded Linux (X11 flavour, libflutter_elinux_x11.so), as far as
// a texture plug-in uses it. The layouts are pinned below: they are shared with a library compiled elsewhere.
//
// Thread   messenger calls belong to the platform thread; registering, marking and unregistering a texture may
//          come from any thread.

#ifndef EMBEDDER_FLUTTER_DESKTOP_H_
#define EMBEDDER_FLUTTER_DESKTOP_H_

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)
extern "C" {

// ---- Handles -----------------------------------------------------------------------------------------------

typedef struct FlutterDesktopPluginRegistrar* FlutterDesktopPluginRegistrarRef;
typedef struct FlutterDesktopMessenger* FlutterDesktopMessengerRef;
typedef struct FlutterDesktopTextureRegistrar* FlutterDesktopTextureRegistrarRef;
typedef struct FlutterDesktopMessageResponseHandle FlutterDesktopMessageResponseHandle;

// ---- Messages ----------------------------------------------------------------------------------------------

/// One incoming message. The bytes and the channel name live until the message callback returns; the response
/// handle lives until it is answered, once, with FlutterDesktopMessengerSendResponse.
typedef struct {
  size_t struct_size;  // set by the embedder
  const char* channel;
  const uint8_t* message;
  size_t message_size;
  const FlutterDesktopMessageResponseHandle* response_handle;
} FlutterDesktopMessage;

typedef void (*FlutterDesktopBinaryReply)(const uint8_t* data, size_t data_size, void* user_data);
typedef void (*FlutterDesktopMessageCallback)(FlutterDesktopMessengerRef messenger,
                                              const FlutterDesktopMessage* message, void* user_data);
typedef void (*FlutterDesktopOnPluginRegistrarDestroyed)(FlutterDesktopPluginRegistrarRef registrar);

// ---- Textures ----------------------------------------------------------------------------------------------

typedef enum {
  kFlutterDesktopPixelBufferTexture,
  kFlutterDesktopGpuSurfaceTexture,
  kFlutterDesktopEGLImageTexture,
} FlutterDesktopTextureType;

typedef enum {
  kFlutterDesktopGpuSurfaceTypeNone,
  kFlutterDesktopGpuSurfaceTypeDxgiSharedHandle,
  kFlutterDesktopGpuSurfaceTypeD3d11Texture2D,
} FlutterDesktopGpuSurfaceType;

typedef enum {
  kFlutterDesktopPixelFormatNone,
  kFlutterDesktopPixelFormatRGBA8888,
  kFlutterDesktopPixelFormatBGRA8888,
} FlutterDesktopPixelFormat;

/// A frame in memory: `width * height * 4` bytes, R, G, B, A, rows packed, top row first. `release_callback`,
/// when not null, is called with `release_context` once the engine has copied the pixels.
typedef struct {
  const uint8_t* buffer;
  size_t width;
  size_t height;
  void (*release_callback)(void* release_context);
  void* release_context;
} FlutterDesktopPixelBuffer;

typedef struct {
  const void* egl_image;
  size_t width;
  size_t height;
  void (*release_callback)(void* release_context);
  void* release_context;
} FlutterDesktopEGLImage;

typedef struct {
  size_t struct_size;
  void* handle;
  size_t width;
  size_t height;
  size_t visible_width;
  size_t visible_height;
  FlutterDesktopPixelFormat format;
  void (*release_callback)(void* release_context);
  void* release_context;
} FlutterDesktopGpuSurfaceDescriptor;

// The texture callbacks: the engine asks for a frame of the texture, on its raster thread.
typedef const FlutterDesktopPixelBuffer* (*FlutterDesktopPixelBufferTextureCallback)(size_t width, size_t height,
                                                                                     void* user_data);
typedef const FlutterDesktopGpuSurfaceDescriptor* (*FlutterDesktopGpuSurfaceTextureCallback)(size_t width,
                                                                                             size_t height,
                                                                                             void* user_data);
typedef const FlutterDesktopEGLImage* (*FlutterDesktopEGLImageTextureCallback)(size_t width, size_t height,
                                                                               void* egl_display, void* egl_context,
                                                                               void* user_data);

typedef struct {
  FlutterDesktopPixelBufferTextureCallback callback;
  void* user_data;
} FlutterDesktopPixelBufferTextureConfig;

typedef struct {
  FlutterDesktopEGLImageTextureCallback callback;
  void* user_data;
} FlutterDesktopEGLImageTextureConfig;

typedef struct {
  size_t struct_size;
  FlutterDesktopGpuSurfaceType type;
  FlutterDesktopGpuSurfaceTextureCallback callback;
  void* user_data;
} FlutterDesktopGpuSurfaceTextureConfig;

typedef struct {
  FlutterDesktopTextureType type;
  // The member that `type` names is the one that is set.
  union {
    FlutterDesktopPixelBufferTextureConfig pixel_buffer_config;
    FlutterDesktopGpuSurfaceTextureConfig gpu_surface_config;
    FlutterDesktopEGLImageTextureConfig egl_image_config;
  };
} FlutterDesktopTextureInfo;

// ---- Functions ---------------------------------------------------------------------------------------------

FlutterDesktopMessengerRef FlutterDesktopPluginRegistrarGetMessenger(FlutterDesktopPluginRegistrarRef registrar);
FlutterDesktopTextureRegistrarRef FlutterDesktopRegistrarGetTextureRegistrar(
    FlutterDesktopPluginRegistrarRef registrar);
void FlutterDesktopPluginRegistrarSetDestructionHandler(FlutterDesktopPluginRegistrarRef registrar,
                                                        FlutterDesktopOnPluginRegistrarDestroyed callback);

bool FlutterDesktopMessengerSend(FlutterDesktopMessengerRef messenger, const char* channel, const uint8_t* message,
                                 size_t message_size);
bool FlutterDesktopMessengerSendWithReply(FlutterDesktopMessengerRef messenger, const char* channel,
                                          const uint8_t* message, size_t message_size, FlutterDesktopBinaryReply reply,
                                          void* user_data);
void FlutterDesktopMessengerSendResponse(FlutterDesktopMessengerRef messenger,
                                         const FlutterDesktopMessageResponseHandle* handle, const uint8_t* data,
                                         size_t data_length);
void FlutterDesktopMessengerSetCallback(FlutterDesktopMessengerRef messenger, const char* channel,
                                        FlutterDesktopMessageCallback callback, void* user_data);

int64_t FlutterDesktopTextureRegistrarRegisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                              const FlutterDesktopTextureInfo* info);
bool FlutterDesktopTextureRegistrarMarkExternalTextureFrameAvailable(
    FlutterDesktopTextureRegistrarRef texture_registrar, int64_t texture_id);
/// Returns before the engine has let go of the texture; `callback`, when not null, is called when it has.
void FlutterDesktopTextureRegistrarUnregisterExternalTexture(FlutterDesktopTextureRegistrarRef texture_registrar,
                                                             int64_t texture_id, void (*callback)(void* user_data),
                                                             void* user_data);

}  // extern "C"
#pragma GCC visibility pop

// ---- Layout on a 64-bit target -----------------------------------------------------------------------------

static_assert(sizeof(void*) == 8 && sizeof(size_t) == 8, "the embedder's layout is that of a 64-bit target");

static_assert(sizeof(FlutterDesktopMessage) == 40);
static_assert(offsetof(FlutterDesktopMessage, struct_size) == 0);
static_assert(offsetof(FlutterDesktopMessage, channel) == 8);
static_assert(offsetof(FlutterDesktopMessage, message) == 16);
static_assert(offsetof(FlutterDesktopMessage, message_size) == 24);
static_assert(offsetof(FlutterDesktopMessage, response_handle) == 32);

static_assert(sizeof(FlutterDesktopPixelBuffer) == 40);
static_assert(offsetof(FlutterDesktopPixelBuffer, buffer) == 0);
static_assert(offsetof(FlutterDesktopPixelBuffer, width) == 8);
static_assert(offsetof(FlutterDesktopPixelBuffer, height) == 16);
static_assert(offsetof(FlutterDesktopPixelBuffer, release_callback) == 24);
static_assert(offsetof(FlutterDesktopPixelBuffer, release_context) == 32);

static_assert(sizeof(FlutterDesktopEGLImage) == 40);
static_assert(offsetof(FlutterDesktopEGLImage, egl_image) == 0);
static_assert(offsetof(FlutterDesktopEGLImage, width) == 8);
static_assert(offsetof(FlutterDesktopEGLImage, height) == 16);
static_assert(offsetof(FlutterDesktopEGLImage, release_callback) == 24);
static_assert(offsetof(FlutterDesktopEGLImage, release_context) == 32);

static_assert(sizeof(FlutterDesktopGpuSurfaceDescriptor) == 72);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, struct_size) == 0);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, handle) == 8);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, width) == 16);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, height) == 24);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, visible_width) == 32);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, visible_height) == 40);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, format) == 48);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, release_callback) == 56);
static_assert(offsetof(FlutterDesktopGpuSurfaceDescriptor, release_context) == 64);

static_assert(sizeof(FlutterDesktopPixelBufferTextureConfig) == 16);
static_assert(offsetof(FlutterDesktopPixelBufferTextureConfig, callback) == 0);
static_assert(offsetof(FlutterDesktopPixelBufferTextureConfig, user_data) == 8);

static_assert(sizeof(FlutterDesktopEGLImageTextureConfig) == 16);
static_assert(offsetof(FlutterDesktopEGLImageTextureConfig, callback) == 0);
static_assert(offsetof(FlutterDesktopEGLImageTextureConfig, user_data) == 8);

static_assert(sizeof(FlutterDesktopGpuSurfaceTextureConfig) == 32);
static_assert(offsetof(FlutterDesktopGpuSurfaceTextureConfig, struct_size) == 0);
static_assert(offsetof(FlutterDesktopGpuSurfaceTextureConfig, type) == 8);
static_assert(offsetof(FlutterDesktopGpuSurfaceTextureConfig, callback) == 16);
static_assert(offsetof(FlutterDesktopGpuSurfaceTextureConfig, user_data) == 24);

static_assert(sizeof(FlutterDesktopTextureInfo) == 40);
static_assert(offsetof(FlutterDesktopTextureInfo, type) == 0);
static_assert(offsetof(FlutterDesktopTextureInfo, pixel_buffer_config) == 8);
static_assert(offsetof(FlutterDesktopTextureInfo, gpu_surface_config) == 8);
static_assert(offsetof(FlutterDesktopTextureInfo, egl_image_config) == 8);

#endif  // EMBEDDER_FLUTTER_DESKTOP_H_
