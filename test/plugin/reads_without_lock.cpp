// Must not compile with clang's -Wthread-safety: see scripts/lint.sh.

#include "plugin/orbisk_state.h"

float CameraDistance(const OrbiskState& state) { return state.camera_distance; }
