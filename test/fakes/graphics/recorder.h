// Inside the fakes: the machine that they pretend to be, and the record of one call. No user of
// fake_graphics.h needs this header.

#ifndef TEST_FAKES_GRAPHICS_RECORDER_H_
#define TEST_FAKES_GRAPHICS_RECORDER_H_

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <EGL/egl.h>
#include <GLES2/gl2.h>

#include "fake_graphics.h"
#include "test/fakes/inside_a_fake.h"
#include "text.h"

/// A function of one of the libraries.
#define FAKE_FUNCTION extern "C" __attribute__((visibility("default")))

#pragma GCC visibility push(default)
namespace fake_graphics {

// ---- The machine ------------------------------------------------------------------------------------------

using Rgba = std::array<uint8_t, 4>;

// Whatever goes by a handle or a GL name. It stays known after its release, so that later use is seen for
// what it is.
struct Named {
  std::string name;
  bool released = false;
};

struct XDisplay : Named {
  std::shared_ptr<void> memory;  // what Xlib's macros read
};
struct XWindow : Named {
  const void* display = nullptr;
};
struct Descriptor : Named {
  std::shared_ptr<void> file;  // the real one, closed with it
};
struct GbmDevice : Named {
  int descriptor = -1;
};

struct EglDisplay : Named {
  const void* native = nullptr;
  bool initialised = false;
};
struct EglConfig : Named {
  const void* display = nullptr;
  EGLint surface_type = 0;
};
struct EglSurface : Named {
  const void* display = nullptr;
  unsigned long window = 0;  // 0: a pbuffer
  Rgba content = {};
};

struct GlShader : Named {
  GLenum type = 0;
  std::string source;
  bool compiled = false;
  std::optional<std::string> info_log;
};
struct GlProgram : Named {
  struct Uniform {
    GLint location = -1;
    std::vector<float> value;  // its size tells the type
  };
  std::vector<GLuint> shaders;
  bool linked = false;
  std::optional<std::string> info_log;
  std::map<std::string, GLint> attributes;
  std::map<std::string, Uniform> uniforms;
};
struct GlImage : Named {
  GLsizei width = 0;
  GLsizei height = 0;
  Rgba content = {};
};
struct GlFramebuffer : Named {
  GLuint color = 0;  // a texture
  GLuint depth = 0;  // a renderbuffer
};
struct GlVertexArray {
  bool enabled = false;
  GLint size = 0;
  GLsizei stride = 0;
  const unsigned char* data = nullptr;
};

/// One context with its GL state.
struct EglContext : Named {
  const void* display = nullptr;
  std::optional<std::thread::id> thread;  // on which it is current
  const void* surface = nullptr;          // with which it is current

  std::deque<GLenum> errors;
  std::map<GLuint, GlShader> shaders;
  std::map<GLuint, GlProgram> programs;
  std::map<GLuint, GlFramebuffer> framebuffers;
  std::map<GLuint, GlImage> textures;
  std::map<GLuint, GlImage> renderbuffers;
  GLuint framebuffer = 0;
  GLuint texture = 0;
  GLuint renderbuffer = 0;
  GLuint program = 0;
  std::array<GlVertexArray, 8> arrays;
  std::set<GLenum> enabled;
  std::array<GLenum, 2> blend_factors = {GL_ONE, GL_ZERO};
  std::array<float, 4> clear_color = {};
  std::array<int, 4> viewport = {};

  void AddError(GLenum error);
};

struct Fault {
  std::string function;
  int calls_left = 1;
  bool every_call = false;
  std::optional<unsigned> error;
  std::optional<std::string> info_log;
};

/// All that Reset() makes new.
struct Machine {
  uint64_t last_number = 0;
  std::vector<Call> calls;
  std::vector<Draw> draws;
  std::vector<std::string> complaints;
  std::vector<Fault> faults;
  std::map<std::string, std::function<void()>> hooks;
  std::map<std::string, int> last_name_of_kind;
  GLuint last_gl_name = 0;

  bool default_display = true;
  bool platform_display_function = true;
  int config_count = 1;
  std::set<std::string> drm_nodes;
  bool drm_nodes_open_lowest = false;
  bool info_logs_unterminated = false;
  std::map<GLenum, std::optional<std::string>> driver_strings;
  std::optional<GLenum> framebuffer_status;
  std::map<std::string, GLint> locations;
  std::vector<uint8_t> pixels;

  std::map<const void*, XDisplay> x_displays;
  std::map<unsigned long, XWindow> x_windows;
  std::map<int, Descriptor> descriptors;
  std::map<const void*, GbmDevice> gbm_devices;
  std::map<const void*, EglDisplay> displays;
  std::map<const void*, EglConfig> configs;
  std::map<const void*, EglSurface> surfaces;
  std::map<const void*, EglContext> contexts;
  std::map<std::thread::id, EGLint> egl_errors;

  Machine();
  /// "surface1", "surface2", ...
  std::string NewName(const std::string& kind);
  EglContext* CurrentContext(std::thread::id thread = std::this_thread::get_id());
};

/// A value that no handle has had and that points to no memory.
uintptr_t NewHandle();

/// How a handle shows in a text; `null` for a null one.
template <typename Key, typename Object>
std::string NameOf(const std::map<Key, Object>& objects, Key key, const char* null) {
  if (key == Key()) return null;
  const auto found = objects.find(key);
  return found == objects.end() ? "unknown" : found->second.name;
}

// ---- One call ---------------------------------------------------------------------------------------------

/// One call of a fake function: runs its hook, then holds the machine, and records the call when it ends.
class CallRecord {
 public:
  explicit CallRecord(const char* function);
  ~CallRecord();
  CallRecord(const CallRecord&) = delete;
  CallRecord& operator=(const CallRecord&) = delete;

  Machine& machine() { return machine_; }
  /// The fault that was ordered for this call.
  const std::optional<Fault>& fault() const { return fault_; }
  uint64_t number() const { return number_; }

  template <typename... Values>
  void Arguments(const Values&... values) {
    ((arguments_ += (arguments_.empty() ? "" : ", ") + Text(values)), ...);
  }
  /// Adds to the text after the closing parenthesis.
  void AddText(const std::string& text) { end_ += text; }
  template <typename... Values>
  void Result(const Values&... values) {
    end_ += " -> ";
    const char* separator = "";
    ((end_ += separator + Text(values), separator = ", "), ...);
  }

  void Complain(const std::string& what);
  /// For what is released under an EGL display that is made of it.
  void ComplainAboutDisplaysOn(const void* native);

  /// The object, or null with a complaint when it is unknown or released.
  template <typename Key, typename Object>
  Object* Find(std::map<Key, Object>& objects, Key key, const std::string& kind) {
    const auto found = objects.find(key);
    if (found == objects.end()) {
      Complain("unknown " + kind);
      return nullptr;
    }
    if (found->second.released) {
      Complain(found->second.name + " is released already");
      return nullptr;
    }
    return &found->second;
  }

 private:
  const fakes::InsideAFake inside_;
  const char* const function_;
  Machine& machine_;
  std::unique_lock<std::mutex> lock_;
  uint64_t number_ = 0;
  std::optional<Fault> fault_;
  std::string arguments_;
  std::string end_;
};

}  // namespace fake_graphics
#pragma GCC visibility pop

#endif  // TEST_FAKES_GRAPHICS_RECORDER_H_
