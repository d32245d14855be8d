#ifndef MODEL_LOAD_LOG_H_
#define MODEL_LOAD_LOG_H_

#include <string>
#include <string_view>

namespace glb {

/// Adds to a load's log, where there is one.
inline void append(std::string* log, std::string_view message) {
  if (log != nullptr) log->append(message);
}

}  // namespace glb

#endif  // MODEL_LOAD_LOG_H_
