# What the plug-in is made of, room by room: the one list, for this project's own build and for that of a Flutter
# application, which is elinux/CMakeLists.txt. CMake 3.10.
get_filename_component(ORBISK_ROOT "${CMAKE_CURRENT_LIST_DIR}/.." ABSOLUTE)

set(ORBISK_CLIENT_WRAPPER_SOURCES
  "${ORBISK_ROOT}/client_wrapper/core_implementations.cpp"
  "${ORBISK_ROOT}/client_wrapper/plugin_registrar.cpp"
  "${ORBISK_ROOT}/client_wrapper/standard_codec.cpp")
set(ORBISK_MODEL_SOURCES
  "${ORBISK_ROOT}/model/glb_container.cpp"
  "${ORBISK_ROOT}/model/glb_loader.cpp"
  "${ORBISK_ROOT}/model/json_scanning.cpp"
  "${ORBISK_ROOT}/model/mesh_primitive.cpp")
set(ORBISK_RENDERER_SOURCES
  "${ORBISK_ROOT}/renderer/egl_renderer.cpp")
set(ORBISK_PLUGIN_SOURCES
  "${ORBISK_ROOT}/plugin/orbisk_plugin.cpp"
  "${ORBISK_ROOT}/plugin/pixel_texture.cpp"
  "${ORBISK_ROOT}/plugin/registrations.cpp"
  "${ORBISK_ROOT}/plugin/render_thread.cpp")
# Only where it becomes a library of its own.
set(ORBISK_LIBRARY_SOURCES
  "${ORBISK_ROOT}/plugin/older_systems.cpp")

set(ORBISK_EMBEDDER_INCLUDE_DIRECTORY "${ORBISK_ROOT}/embedder/include")
set(ORBISK_CLIENT_WRAPPER_INCLUDE_DIRECTORY "${ORBISK_ROOT}/client_wrapper/include")
set(ORBISK_PLUGIN_INCLUDE_DIRECTORY "${ORBISK_ROOT}/plugin/include")

# AArch64 compilers fuse a * b + c into one rounding, x86-64 ones do not: off, so that every target computes the same
# single-precision matrices and normals.
set(ORBISK_COMPILE_OPTIONS -ffp-contract=off)

# One exported symbol, whatever library's templates are instantiated inside.
set(ORBISK_EXPORTED_SYMBOLS "${ORBISK_ROOT}/plugin/exported_symbols.map")
