// The code of tinygltf, which is all in its header.
#define TINYGLTF_IMPLEMENTATION
#include "model_tool/tinygltf.h"
