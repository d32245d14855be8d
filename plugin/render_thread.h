#ifndef PLUGIN_RENDER_THREAD_H_
#define PLUGIN_RENDER_THREAD_H_

#include <chrono>

#include "plugin/orbisk_state.h"

inline constexpr auto kFrameInterval = std::chrono::milliseconds(33);
inline constexpr auto kIdleWait = std::chrono::milliseconds(100);  // while there is nothing to draw

/// The body of the render thread: draws a frame every `kFrameInterval`, reads it back and announces it, until the
/// viewer is to stop or is disposed. The context is still current on the thread when it ends: whoever joins it destroys
/// the renderer or starts the next thread.
void RenderingThread(OrbiskState* state) ORBISK_EXCLUDES(state->mutex);

/// Asks the render thread to end and waits until it has.
///
/// Thread   the platform thread, without the viewer's lock, which the render thread needs for its last frame.
void RequestStopAndJoin(OrbiskState& state) ORBISK_EXCLUDES(state.mutex);

/// One frame of the viewer, from its numbers to the pixels in the engine's buffer.
///
/// Thread   that on which the renderer's context is current.
void DrawFrame(OrbiskState& state) ORBISK_REQUIRES(state.mutex);

/// What is left of the frame interval after a frame that took `elapsed`; whole milliseconds of it count.
std::chrono::milliseconds PacingSleep(std::chrono::nanoseconds elapsed);

#endif  // PLUGIN_RENDER_THREAD_H_
