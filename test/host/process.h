#ifndef TEST_HOST_PROCESS_H_
#define TEST_HOST_PROCESS_H_

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

#include "test/host/pipe.h"
#include "test/support/files.h"

/// A running program. Its standard error goes to a file, or where the test says.
class Process {
 public:
  struct Result {
    int status = -1;  // exit status; -1: it was killed by a signal
    std::string out;
    std::string err;
  };
  using Environment = std::map<std::string, std::string>;

  Process(const TemporaryFolder& folder, std::vector<std::string> command, const Environment& environment, int input,
          int error_output = -1);
  // One that nobody has waited for has nothing more to do.
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t id() const { return id_; }
  bool running() const;

  /// The first line of its standard output, once it is there.
  std::string FirstLine();
  /// Nobody reads its standard output any more.
  void CloseOutput() { out_.CloseReading(); }

  Result Wait();

 private:
  const std::string err_path_;
  Pipe out_;
  std::string output_;
  pid_t id_ = -1;
};

#endif  // TEST_HOST_PROCESS_H_
