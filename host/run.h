#ifndef HOST_RUN_H_
#define HOST_RUN_H_

#include "host/console.h"
#include "host/options.h"

namespace host {

/// Does what the command line asks for, from opening the IMU input to the report.
///
/// Failure  HostError, CommandError. A live sensor's malformed line ends the run like its last one, and is
///          thrown when the pictures are written.
void Run(const Options& options, Console& console);

}  // namespace host

#endif  // HOST_RUN_H_
