# The renderer on the fake graphics libraries: everything that a real driver does not show.
orbisk_add_test(fake_graphics_test
  SOURCES
    fake_context_test.cpp
    fake_display_test.cpp
    fake_drawing_test.cpp
    fake_initialize_test.cpp
    fake_libraries_test.cpp
    fake_readback_test.cpp
    fake_shaders_test.cpp
    # Compiled in: orbisk_renderer brings the real libraries along.
    "${PROJECT_SOURCE_DIR}/renderer/egl_renderer.cpp"
  LIBRARIES orbisk_fake_graphics orbisk_embedder_library Threads::Threads ${CMAKE_DL_LIBS}
  LABELS threads)
# The built plug-in, loaded to see that it finds the fakes.
add_dependencies(fake_graphics_test orbisk_plugin)
target_compile_definitions(fake_graphics_test PRIVATE ORBISK_PLUGIN_PATH="$<TARGET_FILE:orbisk_plugin>")
