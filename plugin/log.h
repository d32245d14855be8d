#ifndef PLUGIN_LOG_H_
#define PLUGIN_LOG_H_

// The plug-in's log: lines that begin with "[Orbisk] ".

#include <cstdio>

#include "logging/log_line.h"

inline constexpr char kLogSeparator[] = "========================================";

/// To standard output. The parts are written one after the other.
template <typename... Parts>
void Log(const Parts&... parts) {
  WriteLogLine(stdout, "[Orbisk] ", parts...);
}

/// To standard error.
template <typename... Parts>
void LogError(const Parts&... parts) {
  WriteLogLine(stderr, "[Orbisk] ", parts...);
}

/// To standard output, between two separators.
template <typename... Parts>
void LogBanner(const Parts&... parts) {
  Log(kLogSeparator);
  Log(parts...);
  Log(kLogSeparator);
}

#endif  // PLUGIN_LOG_H_
