// The graphics libraries, played by a test: the functions of libEGL.so.1, libGLESv2.so.2, libgbm.so.1 and
// libX11.so.6 that the renderer calls, under the real SONAMEs, and the opening and closing of DRM nodes. A
// test program that links orbisk_fake_graphics gets them in place of the real ones: its own objects, and a
// plug-in that it dlopen()s.
//
//   fake_graphics::Reset();
//   fake_graphics::FailCall("eglCreateContext");
//   EXPECT_FALSE(renderer.initialize(640, 480, false));
//   EXPECT_EQ(fake_graphics::Transcript(), "eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1\n...");
//   EXPECT_THAT(fake_graphics::Alive(), ElementsAre("display1", "surface1"));
//   EXPECT_THAT(fake_graphics::Complaints(), IsEmpty());
//
// The fakes keep the libraries' state (displays, surfaces, contexts and where they are current, GL objects
// and GL state) and fail as the libraries do. They draw nothing: a frame's pixels are the clear colour, or
// what a test sets.
//
// Thread   any; Reset() only while no other thread is in a fake. One lock orders the calls of all threads,
//          and ThreadSanitizer takes it for synchronisation of theirs.
// Failure  a function name that no fake has throws std::logic_error.

#ifndef TEST_FAKES_GRAPHICS_FAKE_GRAPHICS_H_
#define TEST_FAKES_GRAPHICS_FAKE_GRAPHICS_H_

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#pragma GCC visibility push(default)
namespace fake_graphics {

/// Back to the start: nothing recorded, nothing held, no fault, no hook, an ordinary machine with a default
/// display. Names start again at 1; handles never come again.
void Reset();

// ---- What was called --------------------------------------------------------------------------------------

/// One call, or one line that a test has appended.
///
/// Shape    `text` has the arguments in words, and the result. Handles go by their kind and number, GL
///          objects by their GL name, which no other object has, whatever its kind and context:
///          "eglMakeCurrent(display1, surface1, surface1, context1) -> EGL_TRUE",
///          "glBindTexture(GL_TEXTURE_2D, 2)", "open(\"/dev/dri/card0\", O_RDWR) -> fd1". It stands where
///          the call had its effect: after its hook.
struct Call {
  uint64_t number = 0;   // counts from 1 at Reset
  std::string function;  // empty: an appended line
  std::string text;
  std::thread::id thread;
};

/// All since Reset or the last ClearCalls, in order.
std::vector<Call> Calls();
/// Their texts, each with a newline.
std::string Transcript();
/// Forgets the calls and draws so far.
void ClearCalls();

/// Adds a line to the same sequence, for what else happens in a test.
void AppendLine(const std::string& text);

/// A string as texts show it: in quotes, its newlines as \n.
std::string Quoted(const std::string& text);

/// What a glDrawElements drew, read at that moment.
struct Draw {
  struct Attribute {
    bool enabled = false;
    int size = 0;               // components per vertex
    std::vector<float> values;  // of all vertices up to the highest index; empty while disabled
  };
  uint64_t number = 0;  // of the call
  std::thread::id thread;
  std::string context;
  unsigned framebuffer = 0;
  unsigned program = 0;
  unsigned mode = 0;
  std::vector<uint32_t> indices;
  std::map<std::string, Attribute> attributes;         // those of the program, by name
  std::map<std::string, std::vector<float>> uniforms;  // the same
  bool depth_test = false;
  bool cull_face = false;
  bool blend = false;
  std::array<unsigned, 2> blend_factors = {};  // source, destination
  std::array<float, 4> clear_color = {};
  std::array<int, 4> viewport = {};
};
std::vector<Draw> Draws();

// ---- What is held -----------------------------------------------------------------------------------------

/// What has been acquired and not released, in order: "xdisplay1", "window1", "fd1", "gbm1", "display1"
/// (while it is initialised), "surface1", "context1", "framebuffer 1", ... The GL objects go with their
/// context.
std::vector<std::string> Alive();

/// "context1", or empty. A context is also set free when the thread on which it is current ends.
std::string CurrentContext(std::thread::id thread = std::this_thread::get_id());

// ---- Manners ----------------------------------------------------------------------------------------------

/// What was objected to, each with the function's name in front:
///   - a GL call without a current context; a draw without program or with an incomplete framebuffer;
///   - a handle or GL name that is unknown, of another context, or used or released again after its release;
///   - a context or surface made current on a second thread;
///   - eglTerminate before the display's surfaces and contexts are destroyed;
///   - a window, X display, GBM device or descriptor released before what was made of it;
///   - any use that makes the real library set an error, where no fault was ordered.
/// Not objected to: eglMakeCurrent that only unbinds, whatever the display; eglTerminate of a display that
/// was not initialised; uniform location -1; surface and image sizes, which are the caller's.
std::vector<std::string> Complaints();

/// While one lives, complaints about these functions are dropped.
class Allowance {
 public:
  explicit Allowance(const std::vector<std::string>& functions);
  ~Allowance();
  Allowance(const Allowance&) = delete;
  Allowance& operator=(const Allowance&) = delete;

 private:
  const std::vector<std::string> functions_;
};

/// The GL deletions of a renderer that is released on a thread without a current context.
std::vector<std::string> CleanupDeletions();
/// All GL calls of a frame and its readback, for a renderer whose context is not the one that is current.
std::vector<std::string> FrameCalls();

// ---- Faults -----------------------------------------------------------------------------------------------

/// The `nth` call of `function` from now, 1 being the next, has no effect and fails as the function does:
/// false, null, 0 or -1, values left unwritten, and in eglGetError, glGetError or errno the `error`, or one
/// that is usual for the function. eglChooseConfig counts one config all the same; glCompileShader and
/// glLinkProgram end without success and without an info log; close closes.
void FailCall(const std::string& function, int nth = 1, std::optional<unsigned> error = std::nullopt);
/// The same for all calls from now on.
void FailEveryCall(const std::string& function, std::optional<unsigned> error = std::nullopt);

/// The `nth` glCompileShader or glLinkProgram from now ends without success and with this info log, which
/// may be empty: then its length, which counts the null at its end, is 1.
void FailCompile(const std::string& info_log, int nth = 1);
void FailLink(const std::string& info_log, int nth = 1);

/// The functions whose ordered fault has not come yet; those of FailEveryCall are left out.
std::vector<std::string> PendingFaults();

/// Puts an error into the queue of the context that is current on this thread.
void QueueGlError(unsigned error);

/// Called inside every call of `function` from now on, before its effect, on the calling thread and without
/// a lock: it may count, look, or wait, so that the call takes long. An empty one takes it away.
void SetHook(const std::string& function, std::function<void()> hook);

// ---- What the machine is like -----------------------------------------------------------------------------

/// Whether eglGetDisplay(EGL_DEFAULT_DISPLAY) gives a display; it does.
void SetDefaultDisplay(bool available);
/// Whether eglGetProcAddress finds eglGetPlatformDisplayEXT; it does.
void SetPlatformDisplayFunction(bool available);
/// How many configs match in eglChooseConfig; 1.
void SetConfigCount(int count);
/// Which paths below "/dev/dri/" open; none.
///
/// Lifetime the descriptors are real ones, of /dev/null, from 600 on, where no other file has its number.
void SetDrmNodes(const std::set<std::string>& paths);
/// Whether the next node opens as the lowest free descriptor, as files do; one such node at a time.
void SetDrmNodesOpenLowest(bool lowest);
/// Whether info logs come without the null at their end, and with '~' in its place; they come with it.
void SetInfoLogsUnterminated(bool unterminated);
/// What glGetString gives; a null pointer for the empty optional.
void SetDriverString(unsigned name, const std::optional<std::string>& text);
/// What glCheckFramebufferStatus gives; the empty optional: what the attachments amount to.
void SetFramebufferStatus(std::optional<unsigned> status);
/// The location of an attribute or uniform in programs that are linked from now on; -1: optimised away.
/// Otherwise each one that the sources declare has one of its own: attributes 2, 5, ..., uniforms 7, 11,
/// 15, ...
void SetLocation(const std::string& name, int location);
/// What glReadPixels reads, bottom row first, R, G, B, A; empty: the framebuffer's own content.
void SetPixels(const std::vector<uint8_t>& rgba);

}  // namespace fake_graphics
#pragma GCC visibility pop

#endif  // TEST_FAKES_GRAPHICS_FAKE_GRAPHICS_H_
