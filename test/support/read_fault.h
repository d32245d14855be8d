#ifndef TEST_SUPPORT_READ_FAULT_H_
#define TEST_SUPPORT_READ_FAULT_H_

#include <cstddef>

/// While it lives, the C library's read() hands out `bytes` bytes, then the end of the file or an error.
///
/// Thread   one: nothing else of the program may be reading meanwhile.
class ReadFault {
 public:
  enum Kind { kEnd, kError };
  ReadFault(size_t bytes, Kind kind);
  ~ReadFault();
  ReadFault(const ReadFault&) = delete;
  ReadFault& operator=(const ReadFault&) = delete;

  /// Whether a read has been cut short: a test that goes by without it has tested nothing.
  bool happened() const;
};

/// While it lives, the C library's stat() finds no file, as if each had gone away at that moment.
class StatFault {
 public:
  StatFault();
  ~StatFault();
  StatFault(const StatFault&) = delete;
  StatFault& operator=(const StatFault&) = delete;
};

#endif  // TEST_SUPPORT_READ_FAULT_H_
