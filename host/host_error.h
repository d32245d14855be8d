#ifndef HOST_HOST_ERROR_H_
#define HOST_HOST_ERROR_H_

#include <stdexcept>

namespace host {

/// Why the host gives up: one line that a person can act on, without the program's name and without a
/// newline.
class HostError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace host

#endif  // HOST_HOST_ERROR_H_
