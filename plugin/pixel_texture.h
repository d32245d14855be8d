#ifndef PLUGIN_PIXEL_TEXTURE_H_
#define PLUGIN_PIXEL_TEXTURE_H_

#include "plugin/orbisk_state.h"

/// Makes `state.texture`, through which the engine gets at the frames.
///
/// Thread   the platform thread.
void MakeTexture(OrbiskState& state);

/// For a state that is about to go: its texture gives no frames from now on, and lives for as long as the process,
/// because the engine may ask it at any time.
///
/// Thread   the platform thread.
void LeaveTextureToEngine(OrbiskState& state);

/// Hands the engine the buffer that frames are read into, the same one every time. Null: there is no frame.
///
/// Thread   any; the engine calls it on its raster thread.
const FlutterDesktopPixelBuffer* CopyPixelBuffer(OrbiskState* state) ORBISK_EXCLUDES(state->mutex);

#endif  // PLUGIN_PIXEL_TEXTURE_H_
