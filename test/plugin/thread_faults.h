#ifndef TEST_PLUGIN_THREAD_FAULTS_H_
#define TEST_PLUGIN_THREAD_FAULTS_H_

#include <mutex>

/// Makes what hardly ever fails fail: the program's own pthread_create and pthread_mutex_lock stand in front of the C
/// library's.
///
/// Thread   any.
namespace thread_faults {

/// The next thread is not created: std::thread's constructor throws std::system_error.
void FailNextThread();

/// While one lives, the mutex cannot be locked: std::mutex::lock() throws std::system_error.
class UnlockableMutex {
 public:
  explicit UnlockableMutex(std::mutex& mutex);
  ~UnlockableMutex();
  UnlockableMutex(const UnlockableMutex&) = delete;
  UnlockableMutex& operator=(const UnlockableMutex&) = delete;
};

}  // namespace thread_faults

#endif  // TEST_PLUGIN_THREAD_FAULTS_H_
