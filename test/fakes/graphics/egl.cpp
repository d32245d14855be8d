#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <algorithm>

#include "recorder.h"

using namespace fake_graphics;

namespace {

const std::vector<NamedNumber> kSurfaceTypes = {FAKE_NAMED(EGL_PBUFFER_BIT), FAKE_NAMED(EGL_PIXMAP_BIT),
                                                FAKE_NAMED(EGL_WINDOW_BIT)};
const std::vector<NamedNumber> kRenderableTypes = {FAKE_NAMED(EGL_OPENGL_ES_BIT), FAKE_NAMED(EGL_OPENGL_ES2_BIT),
                                                   FAKE_NAMED(EGL_OPENGL_ES3_BIT), FAKE_NAMED(EGL_OPENGL_BIT)};
const std::vector<NamedNumber> kAttributes = {FAKE_NAMED(EGL_ALPHA_SIZE),      FAKE_NAMED(EGL_BLUE_SIZE),
                                              FAKE_NAMED(EGL_BUFFER_SIZE),     FAKE_NAMED(EGL_CONTEXT_CLIENT_VERSION),
                                              FAKE_NAMED(EGL_DEPTH_SIZE),      FAKE_NAMED(EGL_GREEN_SIZE),
                                              FAKE_NAMED(EGL_HEIGHT),          FAKE_NAMED(EGL_RED_SIZE),
                                              FAKE_NAMED(EGL_RENDERABLE_TYPE), FAKE_NAMED(EGL_SAMPLES),
                                              FAKE_NAMED(EGL_SAMPLE_BUFFERS),  FAKE_NAMED(EGL_STENCIL_SIZE),
                                              FAKE_NAMED(EGL_SURFACE_TYPE),    FAKE_NAMED(EGL_WIDTH)};
const std::vector<NamedNumber> kPlatforms = {FAKE_NAMED(EGL_PLATFORM_GBM_KHR)};

unsigned long Bits(EGLint value) { return static_cast<unsigned int>(value); }

// An attribute list up to its EGL_NONE.
std::map<EGLint, EGLint> Attributes(const EGLint* list) {
  std::map<EGLint, EGLint> attributes;
  for (; list != nullptr && *list != EGL_NONE; list += 2) attributes[list[0]] = list[1];
  return attributes;
}

std::string AttributesText(const EGLint* list) {
  if (list == nullptr) return "null";
  std::string text = "{";
  for (; *list != EGL_NONE; list += 2) {
    std::string value = Text(list[1]);
    if (list[0] == EGL_SURFACE_TYPE) value = BitsText(kSurfaceTypes, Bits(list[1]));
    if (list[0] == EGL_RENDERABLE_TYPE) value = BitsText(kRenderableTypes, Bits(list[1]));
    text += NumberText(kAttributes, Bits(list[0])) + ", " + value + ", ";
  }
  return text + "EGL_NONE}";
}

// The handles of the EGL are const void* in the machine.
const void* Key(const void* handle) { return handle; }

class EglCall : public CallRecord {
 public:
  explicit EglCall(const char* function) : CallRecord(function) { SetError(EGL_SUCCESS); }

  void SetError(EGLint error) { machine().egl_errors[std::this_thread::get_id()] = error; }

  /// Fails the call when that was ordered.
  bool Fails(EGLint usual_error) {
    if (!fault()) return false;
    SetError(static_cast<EGLint>(fault()->error.value_or(static_cast<unsigned>(usual_error))));
    return true;
  }
  void Misuse(EGLint error, const std::string& what) {
    SetError(error);
    Complain(what);
  }

  EGLBoolean Answer(bool good) {
    Result(good ? "EGL_TRUE" : "EGL_FALSE");
    return good ? EGL_TRUE : EGL_FALSE;
  }

  EglDisplay* FindDisplay(EGLDisplay handle) {
    EglDisplay* display = Find(machine().displays, Key(handle), "display");
    if (display == nullptr) SetError(EGL_BAD_DISPLAY);
    return display;
  }
  EglDisplay* FindInitialised(EGLDisplay handle) {
    EglDisplay* display = FindDisplay(handle);
    if (display == nullptr || display->initialised) return display;
    Misuse(EGL_NOT_INITIALIZED, display->name + " is not initialised");
    return nullptr;
  }
  // An object of this display.
  template <typename Object>
  Object* FindOf(EGLDisplay display, std::map<const void*, Object>& objects, const void* handle,
                 const std::string& kind, EGLint error) {
    Object* object = Find(objects, handle, kind);
    if (object == nullptr) {
      SetError(error);
    } else if (object->display != display) {
      Misuse(error, object->name + " is another display's");
      object = nullptr;
    }
    return object;
  }

  std::string DisplayText(EGLDisplay display) { return NameOf(machine().displays, Key(display), "EGL_NO_DISPLAY"); }
  std::string SurfaceText(EGLSurface surface) { return NameOf(machine().surfaces, Key(surface), "EGL_NO_SURFACE"); }
  std::string ContextText(EGLContext context) { return NameOf(machine().contexts, Key(context), "EGL_NO_CONTEXT"); }
  std::string ConfigText(EGLConfig config) { return NameOf(machine().configs, Key(config), "null"); }
  std::string NativeText(const void* native) {
    if (machine().gbm_devices.count(native) != 0) return NameOf(machine().gbm_devices, native, "");
    return NameOf(machine().x_displays, native, "EGL_DEFAULT_DISPLAY");
  }

  /// The display of the machine's default, an X display or a GBM device; each has one.
  EGLDisplay DisplayOf(const void* native, EGLint usual_error) {
    EGLDisplay handle = EGL_NO_DISPLAY;
    if (Fails(usual_error)) {
    } else if (native == nullptr) {
      if (machine().default_display) handle = OneDisplayOf(native);
    } else {
      const bool is_gbm = machine().gbm_devices.count(native) != 0;
      const Named* object = is_gbm ? static_cast<Named*>(Find(machine().gbm_devices, native, "native display"))
                                   : Find(machine().x_displays, native, "native display");
      if (object != nullptr) handle = OneDisplayOf(native);
    }
    Result(DisplayText(handle));
    return handle;
  }

 private:
  EGLDisplay OneDisplayOf(const void* native) {
    for (const auto& [handle, display] : machine().displays) {
      if (display.native == native) return const_cast<void*>(handle);
    }
    auto* handle = reinterpret_cast<EGLDisplay>(NewHandle());
    EglDisplay& display = machine().displays[handle];
    display.name = machine().NewName("display");
    display.native = native;
    return handle;
  }
};

// Both kinds of surface.
EGLSurface CreateSurface(EglCall& call, EGLDisplay display, EGLConfig config, EGLint type, unsigned long window,
                         bool good_arguments) {
  Machine& machine = call.machine();
  EGLSurface handle = EGL_NO_SURFACE;
  if (call.FindInitialised(display) != nullptr && !call.Fails(EGL_BAD_ALLOC) && good_arguments) {
    const EglConfig* chosen = call.FindOf(display, machine.configs, config, "config", EGL_BAD_CONFIG);
    if (chosen != nullptr && (chosen->surface_type & type) == 0) {
      call.Misuse(EGL_BAD_MATCH, chosen->name + " is not for such surfaces");
    } else if (chosen != nullptr) {
      handle = reinterpret_cast<EGLSurface>(NewHandle());
      EglSurface& surface = machine.surfaces[handle];
      surface.name = machine.NewName("surface");
      surface.display = display;
      surface.window = window;
    }
  }
  call.Result(call.SurfaceText(handle));
  return handle;
}

// Makes nothing current on this thread.
void Unbind(Machine& machine) {
  EglContext* context = machine.CurrentContext();
  if (context == nullptr) return;
  context->thread.reset();
  context->surface = nullptr;
}

bool IsCurrentElsewhere(Machine& machine, const void* surface) {
  for (const auto& [handle, context] : machine.contexts) {
    if (context.surface == surface && context.thread != std::this_thread::get_id()) return true;
  }
  return false;
}

EGLDisplay EGLAPIENTRY GetPlatformDisplay(EGLenum platform, void* native, const EGLint* attributes) {
  EglCall call("eglGetPlatformDisplayEXT");
  call.Arguments(NumberText(kPlatforms, platform), call.NativeText(native), AttributesText(attributes));
  return call.DisplayOf(native, EGL_BAD_PARAMETER);
}

}  // namespace

// ---- Displays ---------------------------------------------------------------------------------------------

FAKE_FUNCTION EGLDisplay eglGetDisplay(EGLNativeDisplayType native) {
  EglCall call("eglGetDisplay");
  call.Arguments(call.NativeText(native));
  return call.DisplayOf(native, EGL_SUCCESS);
}

FAKE_FUNCTION __eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
  EglCall call("eglGetProcAddress");
  call.Arguments(Quoted(name));
  const bool is_it = std::string(name) == "eglGetPlatformDisplayEXT";
  const bool found = is_it && call.machine().platform_display_function && !call.Fails(EGL_SUCCESS);
  call.Result(found ? "found" : "null");
  return found ? reinterpret_cast<__eglMustCastToProperFunctionPointerType>(GetPlatformDisplay) : nullptr;
}

FAKE_FUNCTION EGLBoolean eglInitialize(EGLDisplay handle, EGLint* major, EGLint* minor) {
  EglCall call("eglInitialize");
  call.Arguments(call.DisplayText(handle));
  EglDisplay* display = call.FindDisplay(handle);
  if (display == nullptr || call.Fails(EGL_NOT_INITIALIZED)) return call.Answer(false);
  display->initialised = true;
  if (major != nullptr) *major = 1;
  if (minor != nullptr) *minor = 4;
  return call.Answer(true);
}

FAKE_FUNCTION EGLBoolean eglTerminate(EGLDisplay handle) {
  EglCall call("eglTerminate");
  call.Arguments(call.DisplayText(handle));
  EglDisplay* display = call.FindDisplay(handle);
  if (display == nullptr || call.Fails(EGL_BAD_DISPLAY)) return call.Answer(false);
  const auto release_all = [&](auto& objects) {
    for (auto& [key, object] : objects) {
      if (object.display != handle || object.released) continue;
      call.Complain(object.name + " is not destroyed");
      object.released = true;
    }
  };
  release_all(call.machine().surfaces);
  release_all(call.machine().contexts);
  display->initialised = false;
  return call.Answer(true);
}

FAKE_FUNCTION EGLint eglGetError() {
  CallRecord call("eglGetError");  // not EglCall, which clears the error
  EGLint& last = call.machine().egl_errors.try_emplace(std::this_thread::get_id(), EGL_SUCCESS).first->second;
  const EGLint error = call.fault() ? static_cast<EGLint>(call.fault()->error.value_or(EGL_SUCCESS)) : last;
  last = EGL_SUCCESS;
  call.Result(HexText(Bits(error)));
  return error;
}

FAKE_FUNCTION EGLBoolean eglChooseConfig(EGLDisplay display, const EGLint* attributes, EGLConfig* configs,
                                         EGLint config_size, EGLint* num_config) {
  EglCall call("eglChooseConfig");
  call.Arguments(call.DisplayText(display), AttributesText(attributes), config_size);
  if (call.FindInitialised(display) == nullptr) return call.Answer(false);
  if (call.Fails(EGL_BAD_ATTRIBUTE)) {
    *num_config = 1;  // so that a caller who looks at nothing else is found out
    return call.Answer(false);
  }
  Machine& machine = call.machine();
  const EGLint count = std::min(machine.config_count, config_size);
  const EGLBoolean answer = call.Answer(true);
  call.AddText(", " + Text(count));
  for (EGLint i = 0; i < count; ++i) {
    auto* handle = reinterpret_cast<EGLConfig>(NewHandle());
    EglConfig& config = machine.configs[handle];
    config.name = machine.NewName("config");
    config.display = display;
    auto wanted = Attributes(attributes);
    config.surface_type = wanted.count(EGL_SURFACE_TYPE) != 0 ? wanted[EGL_SURFACE_TYPE] : EGL_WINDOW_BIT;
    configs[i] = handle;
    call.AddText(" " + config.name);
  }
  *num_config = count;
  return answer;
}

// ---- Surfaces ---------------------------------------------------------------------------------------------

FAKE_FUNCTION EGLSurface eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes) {
  EglCall call("eglCreatePbufferSurface");
  call.Arguments(call.DisplayText(display), call.ConfigText(config), AttributesText(attributes));
  auto size = Attributes(attributes);
  const bool good_size = size[EGL_WIDTH] >= 0 && size[EGL_HEIGHT] >= 0;
  if (!good_size) call.SetError(EGL_BAD_PARAMETER);
  return CreateSurface(call, display, config, EGL_PBUFFER_BIT, 0, good_size);
}

FAKE_FUNCTION EGLSurface eglCreateWindowSurface(EGLDisplay display, EGLConfig config, EGLNativeWindowType window,
                                                const EGLint* attributes) {
  EglCall call("eglCreateWindowSurface");
  Machine& machine = call.machine();
  const unsigned long id = window;
  call.Arguments(call.DisplayText(display), call.ConfigText(config), NameOf(machine.x_windows, id, "0"),
                 AttributesText(attributes));
  const bool good_window = call.Find(machine.x_windows, id, "window") != nullptr;
  if (!good_window) call.SetError(EGL_BAD_NATIVE_WINDOW);
  return CreateSurface(call, display, config, EGL_WINDOW_BIT, id, good_window);
}

FAKE_FUNCTION EGLBoolean eglDestroySurface(EGLDisplay display, EGLSurface handle) {
  EglCall call("eglDestroySurface");
  call.Arguments(call.DisplayText(display), call.SurfaceText(handle));
  if (call.FindInitialised(display) == nullptr || call.Fails(EGL_BAD_SURFACE)) return call.Answer(false);
  EglSurface* surface = call.FindOf(display, call.machine().surfaces, handle, "surface", EGL_BAD_SURFACE);
  if (surface != nullptr) surface->released = true;
  return call.Answer(surface != nullptr);
}

FAKE_FUNCTION EGLBoolean eglSwapBuffers(EGLDisplay display, EGLSurface handle) {
  EglCall call("eglSwapBuffers");
  call.Arguments(call.DisplayText(display), call.SurfaceText(handle));
  if (call.FindInitialised(display) == nullptr || call.Fails(EGL_BAD_SURFACE)) return call.Answer(false);
  EglSurface* surface = call.FindOf(display, call.machine().surfaces, handle, "surface", EGL_BAD_SURFACE);
  if (surface == nullptr) return call.Answer(false);
  const EglContext* context = call.machine().CurrentContext();
  const bool is_current = context != nullptr && context->surface == handle;
  if (!is_current) call.Misuse(EGL_BAD_SURFACE, surface->name + " is not current on this thread");
  return call.Answer(is_current);
}

// ---- Contexts ---------------------------------------------------------------------------------------------

FAKE_FUNCTION EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                                          const EGLint* attributes) {
  EglCall call("eglCreateContext");
  Machine& machine = call.machine();
  call.Arguments(call.DisplayText(display), call.ConfigText(config), call.ContextText(share),
                 AttributesText(attributes));
  EGLContext handle = EGL_NO_CONTEXT;
  if (call.FindInitialised(display) != nullptr && !call.Fails(EGL_BAD_ALLOC) &&
      call.FindOf(display, machine.configs, config, "config", EGL_BAD_CONFIG) != nullptr) {
    handle = reinterpret_cast<EGLContext>(NewHandle());
    EglContext& context = machine.contexts[handle];
    context.name = machine.NewName("context");
    context.display = display;
  }
  call.Result(call.ContextText(handle));
  return handle;
}

FAKE_FUNCTION EGLBoolean eglDestroyContext(EGLDisplay display, EGLContext handle) {
  EglCall call("eglDestroyContext");
  call.Arguments(call.DisplayText(display), call.ContextText(handle));
  if (call.FindInitialised(display) == nullptr || call.Fails(EGL_BAD_CONTEXT)) return call.Answer(false);
  EglContext* context = call.FindOf(display, call.machine().contexts, handle, "context", EGL_BAD_CONTEXT);
  // Where it is current it goes on working until it is not.
  if (context != nullptr) context->released = true;
  return call.Answer(context != nullptr);
}

FAKE_FUNCTION EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                                        EGLContext context_handle) {
  EglCall call("eglMakeCurrent");
  Machine& machine = call.machine();
  call.Arguments(call.DisplayText(display), call.SurfaceText(draw), call.SurfaceText(read),
                 call.ContextText(context_handle));
  if (call.Fails(EGL_BAD_ACCESS)) return call.Answer(false);

  const bool only_unbinds = draw == EGL_NO_SURFACE && read == EGL_NO_SURFACE && context_handle == EGL_NO_CONTEXT;
  if (only_unbinds && display == EGL_NO_DISPLAY) {
    call.SetError(EGL_BAD_DISPLAY);
    return call.Answer(false);
  }
  if (only_unbinds) {
    const bool good = call.FindDisplay(display) != nullptr;
    if (good) Unbind(machine);
    return call.Answer(good);
  }
  if (call.FindInitialised(display) == nullptr) return call.Answer(false);
  if (context_handle == EGL_NO_CONTEXT) {
    // A renderer whose set-up ended between surface and context.
    call.SetError(EGL_BAD_MATCH);
    return call.Answer(false);
  }

  EglContext* context = call.FindOf(display, machine.contexts, context_handle, "context", EGL_BAD_CONTEXT);
  const EglSurface* surface = call.FindOf(display, machine.surfaces, draw, "surface", EGL_BAD_SURFACE);
  if (context == nullptr || surface == nullptr) return call.Answer(false);
  const auto this_thread = std::this_thread::get_id();
  if (draw != read) {
    call.Misuse(EGL_BAD_MATCH, "two surfaces");
  } else if (context->thread.value_or(this_thread) != this_thread) {
    call.Misuse(EGL_BAD_ACCESS, context->name + " is current on another thread");
  } else if (IsCurrentElsewhere(machine, draw)) {
    call.Misuse(EGL_BAD_ACCESS, surface->name + " is current on another thread");
  } else {
    Unbind(machine);
    context->thread = this_thread;
    context->surface = draw;
    return call.Answer(true);
  }
  return call.Answer(false);
}
