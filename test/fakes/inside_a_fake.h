#ifndef TEST_FAKES_INSIDE_A_FAKE_H_
#define TEST_FAKES_INSIDE_A_FAKE_H_

// Where the calling thread is: in a fake or in what is tested. A test that counts allocations, or makes them fail,
// needs to know whose they are.

#pragma GCC visibility push(default)
namespace fakes {

// How many fakes the thread is inside of; one for the program and all libraries that it loads.
inline thread_local int t_fake_depth = 0;

inline bool IsInsideAFake() { return t_fake_depth > 0; }

/// While one lives, its thread is inside a fake.
class InsideAFake {
 public:
  InsideAFake() { ++t_fake_depth; }
  ~InsideAFake() { --t_fake_depth; }
  InsideAFake(const InsideAFake&) = delete;
  InsideAFake& operator=(const InsideAFake&) = delete;
};

/// While one lives, its thread is back in what is tested: a fake calls it.
class OutsideTheFakes {
 public:
  OutsideTheFakes() { t_fake_depth = 0; }
  ~OutsideTheFakes() { t_fake_depth = depth_; }
  OutsideTheFakes(const OutsideTheFakes&) = delete;
  OutsideTheFakes& operator=(const OutsideTheFakes&) = delete;

 private:
  const int depth_ = t_fake_depth;
};

}  // namespace fakes
#pragma GCC visibility pop

#endif  // TEST_FAKES_INSIDE_A_FAKE_H_
