#ifndef TEST_ENDURANCE_SUBJECT_H_
#define TEST_ENDURANCE_SUBJECT_H_

#include <memory>
#include <string>

namespace endurance {

/// What is put to the test: one viewer that is opened, drawn with on a thread of its own, and closed, many times over.
///
/// Thread   all members on one thread.
/// Failure  std::exception where a step fails that must not; the process ends then.
class Subject {
 public:
  virtual ~Subject() = default;

  virtual void Open() = 0;
  virtual void Close() = 0;

  /// Starts drawing, on a new thread.
  virtual void Start() = 0;
  /// Stops drawing and waits until the thread has ended.
  virtual void Stop() = 0;

  /// Waits until `count` more frames have been drawn; false where the thread has failed and draws none.
  [[nodiscard]] virtual bool WaitForFrames(int count) = 0;
};

inline constexpr int kFrameSide = 64;  // pixels: what is to be seen here does not depend on it

/// The built plug-in, loaded and driven as the embedder does.
std::unique_ptr<Subject> MakePluginSubject(const std::string& plugin_path, const std::string& model_path);

/// What becomes of the context when the thread on which it is current ends.
enum class WhenThreadEnds { kLeaveCurrent, kRelease };

/// A program of EGL and OpenGL ES calls alone, those that the plug-in makes with this model: whatever it grows by is
/// the driver's.
std::unique_ptr<Subject> MakeBareSubject(const std::string& model_path, WhenThreadEnds when_thread_ends);

/// The same, in a process where another thread starts before each start and ends before each stop. It is likely to get
/// the stack, and with it the thread-local storage, of the drawing thread that has ended; the next one then gets
/// another.
std::unique_ptr<Subject> PutBesideIdleThread(std::unique_ptr<Subject> subject);

}  // namespace endurance

#endif  // TEST_ENDURANCE_SUBJECT_H_
