// Any messages on the plug-in's channel, several one after the other, between them frames and failures of the graphics
// libraries: the plug-in whole, from its registration to its end, on an embedder that objects to bad manners.
//
//   scripts/fuzz.sh 60 method_call
//
// An input is a row of steps, each begun by a byte (see fuzz/step.h): a message of so many bytes, the fetching of a
// frame, a graphics call that is to fail.
//
// What must hold:
//   - a message is answered exactly once, with what the commands are known to answer, or one of the exceptions leaves
//     that may: a value of another type, a number that the model's text has not, memory that is not there; then it is
//     not answered;
//   - the viewer's lock is free after every message, and the next command is answered;
//   - a frame that is handed out can be read to its last byte, at any time, and is drawn into nowhere else (the
//     sanitizers watch);
//   - the embedder has nothing to complain of, to the end.
//
// There is no time in here: a sleep of the render thread lasts until the next frame is fetched, or somebody wants the
// thread to end or to give up the lock. So the same input runs the same way. Memory is short (see kMemory), and paths
// lead to the files of model_files.h or nowhere.

#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <new>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>
#include <variant>

#include "fuzz/answer.h"
#include "fuzz/fuzz_target.h"
#include "fuzz/graphics_stand_in.h"
#include "fuzz/model_files.h"
#include "fuzz/step.h"
#include "test/fakes/fake_embedder.h"
#include "test/support/files.h"
#include "test/support/operator_new.h"

#include "plugin/orbisk_plugin.cpp"  // NOLINT: for the viewer state in its unnamed namespace

namespace {

constexpr size_t kMemory = 64 * 1024;  // bytes in one piece: a frame of 128 x 128

const pthread_t g_platform_thread = pthread_self();

// Threads get a stack of 1 MiB: clearing the shadow of the usual 8 MiB takes the address sanitizer longer than all
// the rest.
const bool g_stacks_are_small = [] {
  pthread_attr_t attributes;
  return pthread_attr_init(&attributes) == 0 && pthread_attr_setstacksize(&attributes, 1024 * 1024) == 0 &&
         pthread_setattr_default_np(&attributes) == 0;
}();

// ---- Time --------------------------------------------------------------------------------------------------

// Waits for what another thread does. The first looks are quick; then, on a busy machine, it is best to get out of the
// other thread's way.
template <typename Condition>
void WaitUntil(Condition condition) {
  for (int looks = 0; !condition(); ++looks) {
    if (looks < 16) {
      sched_yield();
    } else {
      const timespec fifty_microseconds = {0, 50'000};
      clock_nanosleep(CLOCK_MONOTONIC, 0, &fifty_microseconds, nullptr);
    }
  }
}

std::atomic<bool> g_render_thread_sleeps{false};
std::atomic<bool> g_next_frame{false};
bool g_render_thread_ended = false;  // by itself

bool RenderThreadMustWake(std::chrono::nanoseconds sleep) {
  if (g_viewer_state->stop_requested || g_viewer_state->disposed) return true;
  return sleep == kIdleWait && g_viewer_state->lock_waiters > 0;
}

void SleepOnRenderThread(std::chrono::nanoseconds sleep) {
  g_render_thread_sleeps = true;
  WaitUntil([sleep] { return g_next_frame || RenderThreadMustWake(sleep); });
  g_render_thread_sleeps = false;
  g_next_frame = false;
}

// Waits until the render thread, when there is one, sleeps or has ended.
void WaitForRenderThread() {
  if (!g_viewer_state || !g_viewer_state->render_thread) return;
  WaitUntil([] {
    if (graphics_stand_in::TakeRenderThreadFailure()) g_render_thread_ended = true;
    return g_render_thread_ended || g_render_thread_sleeps;
  });
}

// The same after a new thread has been started; one of a disposed viewer ends at once.
void WaitForNewRenderThread() {
  g_render_thread_ended = g_viewer_state->disposed;
  WaitForRenderThread();
}

void LetRenderThreadDraw() {
  if (!g_render_thread_sleeps) return;
  g_next_frame = true;
  WaitUntil([] { return !g_next_frame; });
  WaitForRenderThread();
}

}  // namespace

// In front of the C library's.
extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec* request, timespec*) {
  const auto sleep = std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec);
  if (pthread_equal(pthread_self(), g_platform_thread) || sleep < std::chrono::milliseconds(1)) {
    sched_yield();
  } else {
    SleepOnRenderThread(sleep);
  }
  return 0;
}

namespace {

// ---- Messages ----------------------------------------------------------------------------------------------

fakes::Bytes EncodeCall(const std::string& method, EncodableValue arguments) {
  return *flutter::StandardMethodCodec::GetInstance().EncodeMethodCall(
      MethodCall(method, std::make_unique<EncodableValue>(std::move(arguments))));
}

// Whether a path in the message would lead out of the working folder.
bool LeavesFolder(const MethodCall& call) {
  const EncodableMap* arguments = ArgumentMap(call);
  const EncodableValue* value = arguments == nullptr ? nullptr : FindArgument(*arguments, "modelPath");
  const std::string* path = value == nullptr ? nullptr : std::get_if<std::string>(value);
  return path != nullptr && (path->rfind('/', 0) == 0 || path->find("..") != std::string::npos);
}

// Whether the answer is a success; it is one of those that the commands are known to give.
bool IsSuccess(const std::optional<fakes::Bytes>& envelope) {
  static const std::set<std::string> kCodes = {"INVALID_ARGS",  "NOT_INITIALIZED", "INIT_FAILED",
                                               "SHADER_FAILED", "LOAD_FAILED",     "NO_MODEL"};
  if (!envelope) return false;  // not implemented
  fuzz::Answer answer;
  flutter::StandardMethodCodec::GetInstance().DecodeAndProcessResponseEnvelope(envelope->data(), envelope->size(),
                                                                               &answer);
  if (answer.is_error) {
    FUZZ_REQUIRE(kCodes.count(answer.code) == 1 && !answer.message.empty() && answer.value.IsNull());
  } else {
    FUZZ_REQUIRE(answer.value == EncodableValue(true) || std::holds_alternative<int64_t>(answer.value));
  }
  return !answer.is_error;
}

// The render thread may hold it as well, and gives it up to whoever waits for it.
bool LockComesFree(OrbiskState& state) {
  if (state.mutex.try_lock()) {
    state.mutex.unlock();
    return true;
  }
  if (!state.render_thread) return false;
  const StateLock lock(state);  // hangs where the platform thread holds it
  return true;
}

// ---- One plug-in's life ------------------------------------------------------------------------------------

class Plugin {
 public:
  Plugin() { OrbiskPluginRegisterWithRegistrar(embedder_.registrar()); }

  ~Plugin() {
    // Without a "dispose" the plug-in leaves the pixels to the engine.
    std::unique_ptr<const uint8_t[]> pixels;
    if (g_viewer_state && g_viewer_state->pixel_buffer) pixels.reset(g_viewer_state->pixel_buffer->buffer);
    embedder_.DestroyRegistrar();
    FUZZ_REQUIRE(g_viewer_state == nullptr);
    FUZZ_REQUIRE(embedder_.complaints().empty());
  }

  void Deliver(const fakes::Bytes& message) {
    const auto call = flutter::StandardMethodCodec::GetInstance().DecodeMethodCall(message.data(), message.size());
    if (call != nullptr && LeavesFolder(*call)) return;
    if (!IsAnswered(message, call ? call->method_name() : "")) FUZZ_REQUIRE(IsAnswered(probe_, "setCameraDistance"));
  }

  void FetchFrame() {
    const std::vector<int64_t> ids = embedder_.texture_ids();
    if (ids.empty()) return;
    try {
      const FlutterDesktopPixelBuffer* const frame = embedder_.FetchFrame(ids.back(), 0, 0);
      if (frame != nullptr) RequireReadable(*frame);
    } catch (const std::bad_alloc&) {
      FUZZ_REQUIRE(LockComesFree(*g_viewer_state));
    }
    LetRenderThreadDraw();
  }

 private:
  // False: an exception left the plug-in that may.
  bool IsAnswered(const fakes::Bytes& message, const std::string& method) {
    bool threw = false;
    try {
      embedder_.Deliver("orbisk", message);
    } catch (const std::bad_variant_access&) {
      threw = true;
    } catch (const std::invalid_argument&) {
      threw = true;
    } catch (const std::out_of_range&) {
      threw = true;
    } catch (const std::bad_alloc&) {
      threw = true;
    }
    const fakes::Reply reply = embedder_.last_reply();
    FUZZ_REQUIRE(reply.delivered());
    FUZZ_REQUIRE(reply.answered() == !threw);
    if (!threw && IsSuccess(reply.bytes()) && method == "startRendering") {
      WaitForNewRenderThread();
    } else {
      WaitForRenderThread();
    }
    if (g_viewer_state) FUZZ_REQUIRE(LockComesFree(*g_viewer_state));
    return !threw;
  }

  static void RequireReadable(const FlutterDesktopPixelBuffer& frame) {
    FUZZ_REQUIRE(frame.buffer != nullptr && frame.release_callback == nullptr && frame.release_context == nullptr);
    const size_t size = frame.width * frame.height * 4;
    FUZZ_REQUIRE(size <= kMemory);
    const std::vector<uint8_t> copy(frame.buffer, frame.buffer + size);
    FUZZ_REQUIRE(copy.size() == size);
  }

  fakes::FakeEmbedder embedder_;
  const fakes::Bytes probe_ = EncodeCall("setCameraDistance", EncodableMap{{"distance", 2.0}});
};

// The models' folder as the working folder, for as long as it lives.
class InModelFolder {
 public:
  InModelFolder() {
    static const int folder = MakeFolder();
    Enter(folder);
  }
  ~InModelFolder() { Enter(original_); }
  InModelFolder(const InModelFolder&) = delete;
  InModelFolder& operator=(const InModelFolder&) = delete;

 private:
  static int MakeFolder() {
    static const TemporaryFolder folder;
    for (const auto& [name, glb] : fuzz::ModelFiles()) folder.Write(name, glb);
    return open(folder.path().c_str(), O_PATH | O_DIRECTORY);
  }
  static void Enter(int folder) { FUZZ_REQUIRE(fchdir(folder) == 0); }

  static inline const int original_ = open(".", O_PATH | O_DIRECTORY);
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FUZZ_REQUIRE(g_stacks_are_small);
  fuzz::SilenceStandardStreams();
  graphics_stand_in::Reset();
  g_render_thread_sleeps = false;
  g_next_frame = false;
  g_render_thread_ended = false;
  const InModelFolder in_model_folder;
  const operator_new::Limit short_memory(kMemory);

  fuzz::Input input(data, size);
  Plugin plugin;
  while (!input.empty()) {
    const uint8_t step = input.Byte();
    if (step == fuzz::kFetchFrame) {
      plugin.FetchFrame();
    } else if (step >= fuzz::kFirstFailure) {
      graphics_stand_in::FailCall(1 + step - fuzz::kFirstFailure);
    } else {
      plugin.Deliver(input.Bytes(step));
    }
  }
  return 0;
}
