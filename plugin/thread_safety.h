#ifndef PLUGIN_THREAD_SAFETY_H_
#define PLUGIN_THREAD_SAFETY_H_

// What is guarded by which lock, for clang's -Wthread-safety; nothing for other compilers, which do not check it.

#ifdef __clang__
#define ORBISK_THREAD_SAFETY(attribute) __attribute__((attribute))
#else
#define ORBISK_THREAD_SAFETY(attribute)
#endif

/// On a class: its objects are locks.
#define ORBISK_LOCK_TYPE ORBISK_THREAD_SAFETY(capability("mutex"))
/// On a class: its objects hold a lock for as long as they live.
#define ORBISK_LOCK_HOLDER ORBISK_THREAD_SAFETY(scoped_lockable)
/// On a member: read and written with the lock held.
#define ORBISK_GUARDED_BY(lock) ORBISK_THREAD_SAFETY(guarded_by(lock))
/// On a function: called with the lock held.
#define ORBISK_REQUIRES(lock) ORBISK_THREAD_SAFETY(requires_capability(lock))
/// On a function: called without the lock, because it takes it, or waits for a thread that does.
#define ORBISK_EXCLUDES(lock) ORBISK_THREAD_SAFETY(locks_excluded(lock))
/// On a function: takes or gives back the lock named, or the object's own.
#define ORBISK_ACQUIRES(...) ORBISK_THREAD_SAFETY(acquire_capability(__VA_ARGS__))
#define ORBISK_TRIES(...) ORBISK_THREAD_SAFETY(try_acquire_capability(__VA_ARGS__))
#define ORBISK_RELEASES(...) ORBISK_THREAD_SAFETY(release_capability(__VA_ARGS__))
/// On a function: it may do without, for a reason that a comment at it gives.
#define ORBISK_UNCHECKED ORBISK_THREAD_SAFETY(no_thread_safety_analysis)

#endif  // PLUGIN_THREAD_SAFETY_H_
