// The fake libraries as a whole: that they are the ones in use, what they record, and what a test can ask of them.

#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>

#include <atomic>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "test/fakes/graphics/fake_libraries_fixture.h"

#include <X11/Xlib.h>
#include <gbm.h>

namespace fake_graphics {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

// The file that holds an address.
std::string FileOf(const void* address) {
  Dl_info info = {};
  return dladdr(address, &info) != 0 ? info.dli_fname : "";
}

template <typename Function>
std::string FileOfFunction(Function function) {
  return FileOf(reinterpret_cast<const void*>(function));
}

// How many loaded files go by this name.
int LoadedAs(const char* name) {
  struct Search {
    const char* name;
    int count;
  } search = {name, 0};
  dl_iterate_phdr(
      [](dl_phdr_info* info, size_t, void* data) {
        auto& found = *static_cast<Search*>(data);
        found.count += std::string(info->dlpi_name).find(found.name) != std::string::npos;
        return 0;
      },
      &search);
  return search.count;
}

// ---- In the place of the real ones ------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, AreWhatThisProgramUses) {
  EXPECT_THAT(FileOfFunction(eglInitialize), EndsWith("graphics/libEGL.so.1"));
  EXPECT_THAT(FileOfFunction(glClear), EndsWith("graphics/libGLESv2.so.2"));
  EXPECT_THAT(FileOfFunction(gbm_create_device), EndsWith("graphics/libgbm.so.1"));
  EXPECT_THAT(FileOfFunction(XOpenDisplay), EndsWith("graphics/libX11.so.6"));
}

TEST_F(FakeLibrariesTest, AreWhatTheBuiltPluginUses) {
  void* plugin = dlopen(ORBISK_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  // Found as the plug-in finds them: in what it has brought with it.
  EXPECT_THAT(FileOf(dlsym(plugin, "eglInitialize")), EndsWith("graphics/libEGL.so.1"));
  EXPECT_THAT(FileOf(dlsym(plugin, "glClear")), EndsWith("graphics/libGLESv2.so.2"));
  EXPECT_THAT(FileOf(dlsym(plugin, "gbm_create_device")), EndsWith("graphics/libgbm.so.1"));
  EXPECT_THAT(FileOf(dlsym(plugin, "XOpenDisplay")), EndsWith("graphics/libX11.so.6"));
  for (const char* name : {"/libEGL.so", "/libGLESv2.so", "/libgbm.so", "/libX11.so"}) {
    EXPECT_EQ(LoadedAs(name), 1) << name;
  }
  dlclose(plugin);
}

// ---- The record -------------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, RecordCallsAndAppendedLinesInOneSequenceWithTheirThreads) {
  eglGetDisplay(EGL_DEFAULT_DISPLAY);
  std::thread::id other;
  std::thread([&other] {
    other = std::this_thread::get_id();
    AppendLine("between");
    eglGetError();
  }).join();
  const std::vector<Call> calls = Calls();
  ASSERT_EQ(calls.size(), 3u);
  EXPECT_EQ(calls[0].function, "eglGetDisplay");
  EXPECT_EQ(calls[1].function, "");
  EXPECT_EQ(calls[2].number, 3u);
  EXPECT_EQ(calls[0].thread, std::this_thread::get_id());
  EXPECT_EQ(calls[1].thread, other);
  EXPECT_EQ(calls[2].thread, other);
  EXPECT_EQ(Transcript(), "eglGetDisplay(EGL_DEFAULT_DISPLAY) -> display1\nbetween\neglGetError() -> 0x3000\n");
  ClearCalls();
  eglGetError();
  EXPECT_EQ(Calls().at(0).number, 4u);
}

TEST_F(FakeLibrariesTest, ResetForgetsEverything) {
  MakeContext();
  FailCall("glClear");
  glBindTexture(GL_TEXTURE_2D, 9);
  Reset();
  EXPECT_THAT(Calls(), IsEmpty());
  EXPECT_THAT(Complaints(), IsEmpty());
  EXPECT_THAT(Alive(), IsEmpty());
  EXPECT_THAT(PendingFaults(), IsEmpty());
  EXPECT_EQ(CurrentContext(), "");
  eglDestroyContext(display_, context_);
  EXPECT_THAT(Complaints(), ElementsAre("eglDestroyContext: unknown display"));
}

// ---- Faults and hooks -------------------------------------------------------------------------------------

TEST_F(FakeLibrariesTest, FailTheCallThatATestNames) {
  MakeContext();
  FailCall("glCreateShader", 2);
  FailCall("glCreateShader", 3, GL_OUT_OF_MEMORY);
  EXPECT_THAT(PendingFaults(), ElementsAre("glCreateShader", "glCreateShader"));
  EXPECT_NE(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_NE(glCreateShader(GL_VERTEX_SHADER), 0u);
  EXPECT_EQ(glGetError(), GLenum{GL_INVALID_ENUM});
  EXPECT_EQ(glGetError(), GLenum{GL_OUT_OF_MEMORY});
  EXPECT_THAT(PendingFaults(), IsEmpty());
  EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(FakeLibrariesTest, FailWithErrnoWhereTheFunctionDoes) {
  SetDrmNodes({"/dev/dri/card0"});
  FailCall("open", 1, EBUSY);
  EXPECT_EQ(open("/dev/dri/card0", O_RDWR | O_CLOEXEC), -1);
  EXPECT_EQ(errno, EBUSY);
  EXPECT_EQ(open("/dev/dri/card1", O_RDONLY), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(Transcript(),
            "open(\"/dev/dri/card0\", O_RDWR|O_CLOEXEC) -> -1\nopen(\"/dev/dri/card1\", O_RDONLY) -> -1\n");
}

TEST_F(FakeLibrariesTest, RefuseFunctionsThatTheyDoNotHave) {
  EXPECT_THROW(FailCall("glClaer"), std::logic_error);
  EXPECT_THROW(SetHook("", [] {}), std::logic_error);
  EXPECT_THROW(Allowance({"XSync"}), std::logic_error);
}

TEST_F(FakeLibrariesTest, CallAHookBeforeTheCallHasItsEffect) {
  MakeContext();
  int calls = 0;
  SetHook("glFinish", [&calls] {
    ++calls;
    EXPECT_EQ(Transcript(), "");
    glFlush();
  });
  glFinish();
  EXPECT_EQ(Transcript(), "glFlush()\nglFinish()\n");
  SetHook("glFinish", nullptr);
  glFinish();
  EXPECT_EQ(calls, 1);
}

TEST_F(FakeLibrariesTest, LetACallWaitWhileOthersGoOn) {
  MakeContext();
  std::atomic<bool> inside{false};
  std::atomic<bool> go{false};
  SetHook("glFinish", [&] {
    inside = true;
    while (!go) std::this_thread::yield();
  });
  Unbind();
  std::thread slow([this] {
    eglMakeCurrent(display_, surface_, surface_, context_);
    glFinish();
  });
  while (!inside) std::this_thread::yield();
  ClearCalls();
  eglGetError();
  go = true;
  slow.join();
  EXPECT_EQ(Transcript(), "eglGetError() -> 0x3000\nglFinish()\n");
}

}  // namespace
}  // namespace fake_graphics
