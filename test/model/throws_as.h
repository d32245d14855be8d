#ifndef TEST_MODEL_THROWS_AS_H_
#define TEST_MODEL_THROWS_AS_H_

#include <gmock/gmock.h>

/// That the call throws, and what the exception has to say.
template <typename Exception>
auto ThrowsAs(const char* what) {
  return ::testing::ThrowsMessage<Exception>(::testing::StrEq(what));
}

#endif  // TEST_MODEL_THROWS_AS_H_
