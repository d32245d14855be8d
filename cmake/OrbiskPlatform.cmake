# The platform libraries of the plug-in, as targets: Orbisk::EGL, Orbisk::GLESv2, Orbisk::gbm, Orbisk::X11. CMake 3.10.
foreach(_library EGL GLESv2 gbm X11)
  find_library(ORBISK_${_library}_LIBRARY ${_library})
  if(NOT ORBISK_${_library}_LIBRARY)
    message(FATAL_ERROR
      "lib${_library}.so is missing. Debian: apt-get install libegl-dev libgles-dev libgbm-dev libx11-dev")
  endif()
  add_library(Orbisk::${_library} UNKNOWN IMPORTED)
  set_target_properties(Orbisk::${_library} PROPERTIES IMPORTED_LOCATION "${ORBISK_${_library}_LIBRARY}")
endforeach()
find_package(Threads REQUIRED)
