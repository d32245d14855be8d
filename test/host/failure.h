#ifndef TEST_HOST_FAILURE_H_
#define TEST_HOST_FAILURE_H_

#include <string>

#include "host/host_error.h"

namespace host {

/// What the host says of the failure that `action` comes to.
template <typename Action>
std::string FailureOf(Action action) {
  try {
    (void)action();
  } catch (const HostError& error) {
    return error.what();
  }
  return "no failure";
}

}  // namespace host

#endif  // TEST_HOST_FAILURE_H_
