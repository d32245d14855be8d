// What the fake EGL, Xlib, GBM and DRM nodes object to, and the errors they set.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <thread>

#include "test/support/files.h"

#include "test/fakes/graphics/fake_libraries_fixture.h"

#include <X11/Xlib.h>
#include <gbm.h>

namespace fake_graphics {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using FakeDisplayTest = FakeLibrariesTest;

Window NewWindow(Display* display) {
  return XCreateWindow(display, DefaultRootWindow(display), 0, 0, 4, 3, 0, 0, InputOutput, nullptr, 0, nullptr);
}

// ---- EGL ------------------------------------------------------------------------------------------

TEST_F(FakeDisplayTest, ObjectToAContextOnTwoThreads) {
  MakeContext();
  std::thread([this] {
    EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, context_));
    EXPECT_EQ(eglGetError(), EGL_BAD_ACCESS);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    const EGLContext second = eglCreateContext(display_, config_, EGL_NO_CONTEXT, nullptr);
    EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, second));
    EXPECT_EQ(CurrentContext(), "");
  }).join();
  EXPECT_EQ(CurrentContext(), "context1");
  EXPECT_THAT(Complaints(), ElementsAre("eglMakeCurrent: context1 is current on another thread",
                                        "eglMakeCurrent: surface1 is current on another thread"));
}

TEST_F(FakeDisplayTest, SetAContextFreeWhenItsThreadEnds) {
  MakeContext();
  EXPECT_TRUE(Unbind());
  std::thread([this] { EXPECT_TRUE(eglMakeCurrent(display_, surface_, surface_, context_)); }).join();
  EXPECT_TRUE(eglMakeCurrent(display_, surface_, surface_, context_));
  EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(FakeDisplayTest, LetADestroyedContextWorkWhereItIsCurrent) {
  MakeContext();
  eglDestroyContext(display_, context_);
  eglDestroySurface(display_, surface_);
  eglTerminate(display_);
  glFlush();
  EXPECT_EQ(CurrentContext(), "context1");
  EXPECT_THAT(Alive(), IsEmpty());
  EXPECT_TRUE(Unbind()) << "of a display that is not initialised";
  EXPECT_EQ(CurrentContext(), "");
  EXPECT_THAT(Complaints(), IsEmpty());
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, context_));
  EXPECT_THAT(Complaints(), ElementsAre("eglMakeCurrent: display1 is not initialised"));
}

TEST_F(FakeDisplayTest, ObjectToHandlesAfterTheirRelease) {
  MakeContext();
  for (int time = 0; time < 2; ++time) {
    eglDestroyContext(display_, context_);
    eglDestroySurface(display_, surface_);
  }
  eglMakeCurrent(display_, surface_, surface_, context_);
  EXPECT_THAT(
      Complaints(),
      ElementsAre("eglDestroyContext: context1 is released already", "eglDestroySurface: surface1 is released already",
                  "eglMakeCurrent: context1 is released already", "eglMakeCurrent: surface1 is released already"));
}

TEST_F(FakeDisplayTest, ObjectToHandlesOfAnotherDisplay) {
  MakeContext();
  Display* x_display = XOpenDisplay(nullptr);
  const EGLDisplay other = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(x_display));
  eglInitialize(other, nullptr, nullptr);
  eglDestroySurface(other, surface_);
  EXPECT_EQ(eglGetError(), EGL_BAD_SURFACE);
  EXPECT_EQ(eglCreateContext(other, config_, EGL_NO_CONTEXT, nullptr), EGL_NO_CONTEXT);
  EXPECT_EQ(eglGetError(), EGL_BAD_CONFIG);

  const Window window = NewWindow(x_display);
  XMapWindow(XOpenDisplay(nullptr), window);
  EXPECT_THAT(Complaints(), ElementsAre("eglDestroySurface: surface1 is another display's",
                                        "eglCreateContext: config1 is another display's",
                                        "XMapWindow: window1 is another display's"));
}

TEST_F(FakeDisplayTest, SetTheEglErrorOfUnknownHandles) {
  MakeContext();
  int nothing = 0;
  EXPECT_FALSE(eglInitialize(&nothing, nullptr, nullptr));
  EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
  EXPECT_FALSE(eglDestroyContext(display_, &nothing));
  EXPECT_EQ(eglGetError(), EGL_BAD_CONTEXT);
  EXPECT_EQ(eglCreateWindowSurface(display_, config_, 5, nullptr), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_NATIVE_WINDOW);
  const EGLSurface second = NewPbuffer(4, 3);
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, second, context_));
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_THAT(Complaints(), ElementsAre("eglInitialize: unknown display", "eglDestroyContext: unknown context",
                                        "eglCreateWindowSurface: unknown window", "eglMakeCurrent: two surfaces"));
}

// A renderer that is half set up does these.
TEST_F(FakeDisplayTest, SetTheEglErrorOfHalfMadeRenderersWithoutObjecting) {
  EXPECT_FALSE(eglMakeCurrent(EGL_NO_DISPLAY, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
  EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
  MakeContext();
  EXPECT_FALSE(eglMakeCurrent(display_, surface_, surface_, EGL_NO_CONTEXT));
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_EQ(CurrentContext(), "context1");
  EXPECT_EQ(NewPbuffer(4, -3), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_PARAMETER);
  EXPECT_THAT(Complaints(), IsEmpty());
}

TEST_F(FakeDisplayTest, ObjectToTerminatingBeforeDestroying) {
  MakeContext();
  eglTerminate(display_);
  EXPECT_THAT(Complaints(),
              ElementsAre("eglTerminate: surface1 is not destroyed", "eglTerminate: context1 is not destroyed"));
  eglDestroySurface(display_, surface_);
  EXPECT_EQ(Complaints().back(), "eglDestroySurface: display1 is not initialised");
}

TEST_F(FakeDisplayTest, ObjectToSurfacesThatTheConfigIsNotFor) {
  MakeContext();
  Display* x_display = XOpenDisplay(nullptr);
  const Window window = NewWindow(x_display);
  EXPECT_EQ(eglCreateWindowSurface(display_, config_, window, nullptr), EGL_NO_SURFACE);
  EXPECT_EQ(eglGetError(), EGL_BAD_MATCH);
  EXPECT_THAT(Complaints(), ElementsAre("eglCreateWindowSurface: config1 is not for such surfaces"));
}

TEST_F(FakeDisplayTest, ObjectToSwappingASurfaceThatIsNotCurrent) {
  MakeContext();
  EXPECT_TRUE(eglSwapBuffers(display_, surface_));
  Unbind();
  EXPECT_FALSE(eglSwapBuffers(display_, surface_));
  EXPECT_THAT(Complaints(), ElementsAre("eglSwapBuffers: surface1 is not current on this thread"));
}

// ---- X, GBM and descriptors -------------------------------------------------------------------------------

TEST_F(FakeDisplayTest, ObjectToXCallsOnAClosedDisplay) {
  Display* x_display = XOpenDisplay(nullptr);
  const Window window = NewWindow(x_display);
  XDestroyWindow(x_display, window);
  XMapWindow(x_display, window);
  XCloseDisplay(x_display);
  XFlush(x_display);
  XCloseDisplay(x_display);
  EXPECT_THAT(Complaints(),
              ElementsAre("XMapWindow: window1 is released already", "XFlush: xdisplay1 is released already",
                          "XCloseDisplay: xdisplay1 is released already"));
}

TEST_F(FakeDisplayTest, ObjectToReleasingInTheWrongOrder) {
  Display* x_display = XOpenDisplay(nullptr);
  const Window window = NewWindow(x_display);
  display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(x_display));
  eglInitialize(display_, nullptr, nullptr);
  EGLint count = 0;
  eglChooseConfig(display_, nullptr, &config_, 1, &count);
  surface_ = eglCreateWindowSurface(display_, config_, window, nullptr);
  XDestroyWindow(x_display, window);
  NewWindow(x_display);
  XCloseDisplay(x_display);
  EXPECT_THAT(Complaints(),
              ElementsAre("XDestroyWindow: surface1 is still on it", "XCloseDisplay: display1 is not terminated",
                          "XCloseDisplay: window2 is still there"));
}

TEST_F(FakeDisplayTest, ObjectToReleasingAGbmDeviceUnderItsDisplay) {
  SetDrmNodes({"/dev/dri/card0"});
  const int descriptor = open("/dev/dri/card0", O_RDWR);
  gbm_device* device = gbm_create_device(descriptor);
  display_ = eglGetDisplay(reinterpret_cast<EGLNativeDisplayType>(device));
  eglInitialize(display_, nullptr, nullptr);
  close(descriptor);
  gbm_device_destroy(device);
  gbm_device_destroy(device);
  EXPECT_THAT(Complaints(), ElementsAre("close: gbm1 is still on it", "gbm_device_destroy: display1 is not terminated",
                                        "gbm_device_destroy: gbm1 is released already"));
}

TEST_F(FakeDisplayTest, ObjectToClosingADescriptorTwice) {
  SetDrmNodes({"/dev/dri/card0"});
  const int first = open("/dev/dri/card0", O_RDWR);
  struct stat status = {};
  EXPECT_EQ(fstat(first, &status), 0) << "a real one";
  EXPECT_EQ(close(first), 0);
  EXPECT_NE(fstat(first, &status), 0);
  const int second = open("/dev/dri/card0", O_RDWR);
  EXPECT_NE(second, first);
  EXPECT_THAT(Complaints(), IsEmpty());
  EXPECT_EQ(close(first), -1);
  EXPECT_EQ(errno, EBADF);
  EXPECT_THAT(Complaints(), ElementsAre("close: fd1 is released already"));
  EXPECT_THAT(Alive(), ElementsAre("fd2"));
}

TEST_F(FakeDisplayTest, HandOtherFilesOn) {
  const TemporaryFolder folder;
  const std::string path = folder.PathOf("file");
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640);
  ASSERT_GE(file, 0);
  struct stat status = {};
  EXPECT_EQ(fstat(file, &status), 0);
  EXPECT_EQ(status.st_mode & 0777u, 0640u);
  EXPECT_EQ(close(file), 0);
  EXPECT_EQ(close(file), -1);
  EXPECT_EQ(open64(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_THAT(Calls(), IsEmpty());
}

}  // namespace
}  // namespace fake_graphics
