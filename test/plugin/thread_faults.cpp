#include "test/plugin/thread_faults.h"

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<bool> g_fail_next_thread{false};
std::atomic<pthread_mutex_t*> g_unlockable_mutex{nullptr};

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace thread_faults {

void FailNextThread() { g_fail_next_thread = true; }

UnlockableMutex::UnlockableMutex(std::mutex& mutex) { g_unlockable_mutex = mutex.native_handle(); }
UnlockableMutex::~UnlockableMutex() { g_unlockable_mutex = nullptr; }

}  // namespace thread_faults

extern "C" __attribute__((visibility("default"))) int pthread_create(pthread_t* thread,
                                                                     const pthread_attr_t* attributes,
                                                                     void* (*body)(void*), void* argument) {
  if (g_fail_next_thread.exchange(false)) return EAGAIN;
  static const auto next = Next<int (*)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)>("pthread_create");
  return next(thread, attributes, body, argument);
}

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (mutex == g_unlockable_mutex) return EINVAL;
  static const auto next = Next<int (*)(pthread_mutex_t*)>("pthread_mutex_lock");
  return next(mutex);
}
