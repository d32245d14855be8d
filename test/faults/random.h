#ifndef TEST_FAULTS_RANDOM_H_
#define TEST_FAULTS_RANDOM_H_

#include <cstdint>
#include <random>
#include <vector>

/// Random choices that are the same everywhere for the same seed, which the standard library's distributions are not.
class Random {
 public:
  explicit Random(uint64_t seed) : engine_(seed) {}

  /// 0 to `count` - 1.
  size_t Below(size_t count) { return static_cast<size_t>(engine_() % count); }
  bool OneIn(size_t count) { return Below(count) == 0; }

  template <typename Value>
  const Value& OneOf(const std::vector<Value>& values) {
    return values[Below(values.size())];
  }

 private:
  std::mt19937_64 engine_;
};

#endif  // TEST_FAULTS_RANDOM_H_
