#include "recorder.h"

#include <algorithm>
#include <atomic>
#include <stdexcept>

namespace fake_graphics {

namespace {

// What can be told to fail.
const char* const kFunctions[] = {"XCloseDisplay",
                                  "XCreateWindow",
                                  "XDestroyWindow",
                                  "XFlush",
                                  "XMapWindow",
                                  "XOpenDisplay",
                                  "XStoreName",
                                  "close",
                                  "eglChooseConfig",
                                  "eglCreateContext",
                                  "eglCreatePbufferSurface",
                                  "eglCreateWindowSurface",
                                  "eglDestroyContext",
                                  "eglDestroySurface",
                                  "eglGetDisplay",
                                  "eglGetError",
                                  "eglGetPlatformDisplayEXT",
                                  "eglGetProcAddress",
                                  "eglInitialize",
                                  "eglMakeCurrent",
                                  "eglSwapBuffers",
                                  "eglTerminate",
                                  "gbm_create_device",
                                  "gbm_device_destroy",
                                  "glAttachShader",
                                  "glBindFramebuffer",
                                  "glBindRenderbuffer",
                                  "glBindTexture",
                                  "glBlendFunc",
                                  "glCheckFramebufferStatus",
                                  "glClear",
                                  "glClearColor",
                                  "glCompileShader",
                                  "glCreateProgram",
                                  "glCreateShader",
                                  "glDeleteFramebuffers",
                                  "glDeleteProgram",
                                  "glDeleteRenderbuffers",
                                  "glDeleteShader",
                                  "glDeleteTextures",
                                  "glDisable",
                                  "glDisableVertexAttribArray",
                                  "glDrawElements",
                                  "glEnable",
                                  "glEnableVertexAttribArray",
                                  "glFinish",
                                  "glFlush",
                                  "glFramebufferRenderbuffer",
                                  "glFramebufferTexture2D",
                                  "glGenFramebuffers",
                                  "glGenRenderbuffers",
                                  "glGenTextures",
                                  "glGetAttribLocation",
                                  "glGetError",
                                  "glGetProgramInfoLog",
                                  "glGetProgramiv",
                                  "glGetShaderInfoLog",
                                  "glGetShaderiv",
                                  "glGetString",
                                  "glGetUniformLocation",
                                  "glLinkProgram",
                                  "glReadPixels",
                                  "glRenderbufferStorage",
                                  "glShaderSource",
                                  "glTexImage2D",
                                  "glTexParameteri",
                                  "glUniform3f",
                                  "glUniformMatrix4fv",
                                  "glUseProgram",
                                  "glVertexAttribPointer",
                                  "glViewport",
                                  "open"};

const std::string& KnownFunction(const std::string& function) {
  const auto is_it = [&](const char* name) { return function == name; };
  if (std::none_of(std::begin(kFunctions), std::end(kFunctions), is_it)) {
    throw std::logic_error("no such fake function: " + function);
  }
  return function;
}

struct Recorder {
  std::mutex mutex;
  // Guarded by `mutex`. The allowances are outside the machine: they live and die with objects of the tests.
  Machine machine;
  std::multiset<std::string> allowed;
};

// Never destroyed: a renderer may be released while the program ends.
Recorder& TheRecorder() {
  static auto* const recorder = new Recorder();
  return *recorder;
}

// The machine, held.
struct Locked {
  std::lock_guard<std::mutex> lock{TheRecorder().mutex};
  Machine* operator->() { return &TheRecorder().machine; }
};

// Sets the thread's context free when the thread ends, as the real library does.
struct ThreadEnd {
  ~ThreadEnd() {
    Locked machine;
    if (EglContext* context = machine->CurrentContext()) {
      context->thread.reset();
      context->surface = nullptr;
    }
    machine->egl_errors.erase(std::this_thread::get_id());
  }
};

void AddFault(Fault fault) {
  KnownFunction(fault.function);
  Locked machine;
  machine->faults.push_back(std::move(fault));
}

template <typename Key, typename Object>
void AddAlive(std::vector<std::string>& names, const std::map<Key, Object>& objects) {
  for (const auto& [key, object] : objects) {
    if (!object.released) names.push_back(object.name);
  }
}

}  // namespace

// ---- The machine ------------------------------------------------------------------------------------------

void EglContext::AddError(GLenum error) {
  // One flag per error: a second one of the same kind is not seen.
  if (std::find(errors.begin(), errors.end(), error) == errors.end()) errors.push_back(error);
}

Machine::Machine()
    : driver_strings({{GL_VENDOR, "Fake vendor"},
                      {GL_RENDERER, "Fake renderer"},
                      {GL_VERSION, "OpenGL ES 2.0 fake"},
                      {GL_SHADING_LANGUAGE_VERSION, "OpenGL ES GLSL ES 1.00 fake"}}) {}

std::string Machine::NewName(const std::string& kind) { return kind + std::to_string(++last_name_of_kind[kind]); }

EglContext* Machine::CurrentContext(std::thread::id thread) {
  for (auto& [handle, context] : contexts) {
    if (context.thread == thread) return &context;
  }
  return nullptr;
}

uintptr_t NewHandle() {
  static std::atomic<uintptr_t> next{0x00fe'0000'0000'0000};
  return next.fetch_add(16);
}

// ---- One call ---------------------------------------------------------------------------------------------

CallRecord::CallRecord(const char* function) : function_(function), machine_(TheRecorder().machine) {
  static thread_local ThreadEnd end;
  KnownFunction(function);

  lock_ = std::unique_lock<std::mutex>(TheRecorder().mutex);
  if (const auto hook = machine_.hooks.find(function); hook != machine_.hooks.end()) {
    const std::function<void()> run = hook->second;  // it may take itself away
    lock_.unlock();
    run();
    lock_.lock();
  }
  number_ = ++machine_.last_number;

  for (auto fault = machine_.faults.begin(); fault != machine_.faults.end();) {
    const bool is_due = fault->function == function && (fault->every_call || --fault->calls_left == 0);
    if (is_due) fault_ = *fault;
    fault = is_due && !fault->every_call ? machine_.faults.erase(fault) : fault + 1;
  }
}

CallRecord::~CallRecord() {
  machine_.calls.push_back(
      {number_, function_, std::string(function_) + "(" + arguments_ + ")" + end_, std::this_thread::get_id()});
}

void CallRecord::Complain(const std::string& what) {
  if (TheRecorder().allowed.count(function_) != 0) return;
  machine_.complaints.push_back(std::string(function_) + ": " + what);
}

void CallRecord::ComplainAboutDisplaysOn(const void* native) {
  for (const auto& [handle, display] : machine_.displays) {
    if (display.native == native && display.initialised) Complain(display.name + " is not terminated");
  }
}

// ---- What was called --------------------------------------------------------------------------------------

void Reset() {
  const std::lock_guard<std::mutex> lock(TheRecorder().mutex);
  TheRecorder().machine = Machine();
}

std::vector<Call> Calls() { return Locked()->calls; }

std::string Transcript() {
  std::string text;
  for (const Call& call : Calls()) text += call.text + "\n";
  return text;
}

void ClearCalls() {
  Locked machine;
  machine->calls.clear();
  machine->draws.clear();
}

void AppendLine(const std::string& text) {
  Locked machine;
  machine->calls.push_back({++machine->last_number, "", text, std::this_thread::get_id()});
}

std::vector<Draw> Draws() { return Locked()->draws; }

// ---- What is held -----------------------------------------------------------------------------------------

std::vector<std::string> Alive() {
  Locked machine;
  std::vector<std::string> names;
  AddAlive(names, machine->x_displays);
  AddAlive(names, machine->x_windows);
  AddAlive(names, machine->descriptors);
  AddAlive(names, machine->gbm_devices);
  for (const auto& [handle, display] : machine->displays) {
    if (display.initialised) names.push_back(display.name);
  }
  AddAlive(names, machine->surfaces);
  AddAlive(names, machine->contexts);
  for (const auto& [handle, context] : machine->contexts) {
    if (context.released) continue;
    AddAlive(names, context.framebuffers);
    AddAlive(names, context.textures);
    AddAlive(names, context.renderbuffers);
    AddAlive(names, context.shaders);
    AddAlive(names, context.programs);
  }
  return names;
}

std::string CurrentContext(std::thread::id thread) {
  Locked machine;
  const EglContext* context = machine->CurrentContext(thread);
  return context == nullptr ? "" : context->name;
}

// ---- Manners ----------------------------------------------------------------------------------------------

std::vector<std::string> Complaints() { return Locked()->complaints; }

Allowance::Allowance(const std::vector<std::string>& functions) : functions_(functions) {
  Locked machine;
  for (const std::string& function : functions_) TheRecorder().allowed.insert(KnownFunction(function));
}

Allowance::~Allowance() {
  Locked machine;
  std::multiset<std::string>& allowed = TheRecorder().allowed;
  for (const std::string& function : functions_) allowed.erase(allowed.find(function));
}

std::vector<std::string> CleanupDeletions() {
  return {"glDeleteProgram", "glDeleteShader", "glDeleteFramebuffers", "glDeleteTextures", "glDeleteRenderbuffers"};
}

std::vector<std::string> FrameCalls() {
  return {"glBindFramebuffer",
          "glViewport",
          "glClearColor",
          "glClear",
          "glEnable",
          "glDisable",
          "glBlendFunc",
          "glUseProgram",
          "glUniformMatrix4fv",
          "glUniform3f",
          "glEnableVertexAttribArray",
          "glVertexAttribPointer",
          "glDrawElements",
          "glGetError",
          "glDisableVertexAttribArray",
          "glFlush",
          "glFinish",
          "glReadPixels"};
}

// ---- Faults -----------------------------------------------------------------------------------------------

void FailCall(const std::string& function, int nth, std::optional<unsigned> error) {
  AddFault({function, nth, false, error, std::nullopt});
}

void FailEveryCall(const std::string& function, std::optional<unsigned> error) {
  AddFault({function, 0, true, error, std::nullopt});
}

void FailCompile(const std::string& info_log, int nth) {
  AddFault({"glCompileShader", nth, false, std::nullopt, info_log});
}

void FailLink(const std::string& info_log, int nth) { AddFault({"glLinkProgram", nth, false, std::nullopt, info_log}); }

std::vector<std::string> PendingFaults() {
  Locked machine;
  std::vector<std::string> functions;
  for (const Fault& fault : machine->faults) {
    if (!fault.every_call) functions.push_back(fault.function);
  }
  return functions;
}

void QueueGlError(unsigned error) {
  Locked machine;
  EglContext* context = machine->CurrentContext();
  if (context == nullptr) throw std::logic_error("QueueGlError: no current context");
  context->AddError(error);
}

void SetHook(const std::string& function, std::function<void()> hook) {
  Locked machine;
  if (hook) {
    machine->hooks[KnownFunction(function)] = std::move(hook);
  } else {
    machine->hooks.erase(KnownFunction(function));
  }
}

// ---- What the machine is like -----------------------------------------------------------------------------

void SetDefaultDisplay(bool available) { Locked()->default_display = available; }
void SetPlatformDisplayFunction(bool available) { Locked()->platform_display_function = available; }
void SetConfigCount(int count) { Locked()->config_count = count; }
void SetDrmNodes(const std::set<std::string>& paths) { Locked()->drm_nodes = paths; }
void SetDrmNodesOpenLowest(bool lowest) { Locked()->drm_nodes_open_lowest = lowest; }
void SetInfoLogsUnterminated(bool unterminated) { Locked()->info_logs_unterminated = unterminated; }
void SetDriverString(unsigned name, const std::optional<std::string>& text) { Locked()->driver_strings[name] = text; }
void SetFramebufferStatus(std::optional<unsigned> status) { Locked()->framebuffer_status = status; }
void SetLocation(const std::string& name, int location) { Locked()->locations[name] = location; }
void SetPixels(const std::vector<uint8_t>& rgba) { Locked()->pixels = rgba; }

}  // namespace fake_graphics
