// tinygltf under a name of its own. Include this, never the library's header.
//
// HACK: Debian's libdraco carries a tinygltf of another build inside and exports its names, so that the order of linking
// would decide which of the two a program gets; the other one crashes on compressed data that is cut off.

#ifndef MODEL_TOOL_TINYGLTF_H_
#define MODEL_TOOL_TINYGLTF_H_

#define TINYGLTF_NO_STB_IMAGE_WRITE
#define tinygltf orbisk_tinygltf
#include <tiny_gltf.h>
#undef tinygltf

namespace tinygltf = orbisk_tinygltf;

#endif  // MODEL_TOOL_TINYGLTF_H_
