#ifndef MODEL_TOOL_PALETTE_H_
#define MODEL_TOOL_PALETTE_H_

#include <cstddef>

#include "model_tool/scene.h"

namespace model_tool {

/// Leaves at most `most` colours in the whole scene, those that an eye misses least: colours weigh by the area that
/// they cover. Where the scene has no more than that (to a screen of 8 bits per channel), they stay as they are.
///
/// Returns how many there are.
size_t ReducePalette(Scene& scene, size_t most);

}  // namespace model_tool

#endif  // MODEL_TOOL_PALETTE_H_
