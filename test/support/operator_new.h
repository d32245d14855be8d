#ifndef TEST_SUPPORT_OPERATOR_NEW_H_
#define TEST_SUPPORT_OPERATOR_NEW_H_

#include <cstddef>

/// The test program's own operator new, on top of malloc: it throws std::bad_alloc for a size that no machine has,
/// where AddressSanitizer's would end the program; and it can be told to.
///
/// AddressSanitizer still sees every block, its bounds, its life and its loss. What it loses is whether a block of
/// new[] is released with delete[], which the other test programs look at.
namespace operator_new {

/// How many blocks the calling thread has asked for so far, not counting those of the fakes.
long CountOnThisThread();

/// How many blocks the calling thread has got so far, less those it has released, the fakes' included.
long BalanceOnThisThread();

/// While it lives, allocations of the thread that made it fail: the `nth` one from now, 1 being the next, and with
/// kFromThenOn all after it. What the fakes allocate is not counted and does not fail.
class Fault {
 public:
  enum Extent { kOnce, kFromThenOn };
  Fault(int nth, Extent extent);
  ~Fault();
  Fault(const Fault&) = delete;
  Fault& operator=(const Fault&) = delete;

  /// Whether an allocation has failed: once there are fewer than `nth`, none does.
  bool happened() const;
};

/// While it lives, every `new` of more than `bytes` fails, on any thread: for sizes that an input may claim, refused
/// before they cost time.
class Limit {
 public:
  explicit Limit(size_t bytes);
  ~Limit();
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;
};

/// Knows how many bytes the thread that made it has had allocated at a time since then, on top of what there was
/// before. One at a time.
class Peak {
 public:
  Peak();
  size_t bytes() const;

 private:
  const long before_;
};

/// While one lives, knows whether the thread that made it has released a block.
class Watch {
 public:
  explicit Watch(const void* block);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  bool released() const { return released_; }

  // Called for every block that is released on the thread.
  static void Note(const void* block);

 private:
  const void* const block_;
  bool released_ = false;
  Watch* const next_;
};

}  // namespace operator_new

#endif  // TEST_SUPPORT_OPERATOR_NEW_H_
