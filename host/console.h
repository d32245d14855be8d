#ifndef HOST_CONSOLE_H_
#define HOST_CONSOLE_H_

#include <mutex>
#include <string>

namespace host {

/// What the host itself writes to the terminal, and where everything else in the process writes.
///
/// The plug-in and the drivers below it write to standard output and standard error as they like. So that the
/// host's few lines are not buried, the host keeps duplicates of both descriptors for itself and can then put
/// a file in the place of the originals: whatever anybody else writes, through stdio, iostream or write(2),
/// in whatever library, goes there.
///
/// Thread   any, but for DivertOthersTo(), which is for the time before there are others.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// From now on descriptors 1 and 2 of the process are `path`. Should the process be killed by a fault in
  /// the plug-in, it says where the last lines are.
  ///
  /// Failure  HostError.
  void DivertOthersTo(const std::string& path);

  /// Where the others write to; empty while that is the terminal.
  const std::string& others_path() const { return others_path_; }

  /// To standard output, at once.
  void Out(const std::string& text);
  /// Why (as errno has it) a text could not be written to standard output; 0 while all of them could.
  int out_error() const;
  /// "orbisk_host: <text>" and a newline, to standard error.
  void Line(const std::string& text);

  /// Shows how far the run is: rewrites one line of a terminal. Elsewhere nobody watches, and nothing is
  /// written: what is in a log does not depend on how fast the machine is.
  void Progress(const std::string& text);

 private:
  void EndProgress();

  const int out_;
  const int err_;
  const bool terminal_;
  mutable std::mutex mutex_;
  // Guarded by `mutex_`.
  bool progress_shown_ = false;
  int out_error_ = 0;

  std::string others_path_;
};

}  // namespace host

#endif  // HOST_CONSOLE_H_
