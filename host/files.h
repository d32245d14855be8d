// Files on disk: what may be read, and writing without leaving halves.

#ifndef HOST_FILES_H_
#define HOST_FILES_H_

#include <string>
#include <string_view>

namespace host {

/// What `path` names where that is no regular file, such as "a folder" or "a pipe"; empty for a regular file,
/// and where there is nothing. Opening a pipe waits for somebody to write, a device does what it likes, and
/// neither ends.
std::string OtherThanAFile(const std::string& path);

/// Writes a file that is there whole or not at all: under a name of its own in the same folder until it is
/// complete. What had the name before stays until then.
///
/// Failure  HostError; nothing of it stays behind.
void WriteWholeFile(const std::string& path, std::string_view bytes);

}  // namespace host

#endif  // HOST_FILES_H_
