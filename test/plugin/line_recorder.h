#ifndef TEST_PLUGIN_LINE_RECORDER_H_
#define TEST_PLUGIN_LINE_RECORDER_H_

#include <functional>
#include <string>

/// Puts what the plug-in writes to the standard streams into the fake graphics libraries' sequence of calls, as one
/// line a write: "out: [Orbisk] Dispose called", "err: ...". A write that is no whole line, or that is not flushed
/// before the thread's next one, is noted as such. The program's own fwrite and fflush stand in front of the C
/// library's; a test's own output is not caught, because it does not go through fwrite.
///
/// Thread   any.
namespace line_recorder {

/// Begins to record; what is written is then not shown. With a `hook`, calls it on the writing thread with the text of
/// each write, before that is noted.
void Start(std::function<void(const std::string& text)> hook = nullptr);
void Stop();

}  // namespace line_recorder

#endif  // TEST_PLUGIN_LINE_RECORDER_H_
