# The platform libraries of the plug-in, as targets: Orbisk::EGL, Orbisk::GLESv2, Orbisk::gbm, Orbisk::X11.
foreach(_library EGL GLESv2 gbm X11)
  find_library(ORBISK_${_library}_LIBRARY ${_library} REQUIRED)
  add_library(Orbisk::${_library} UNKNOWN IMPORTED)
  set_target_properties(Orbisk::${_library} PROPERTIES IMPORTED_LOCATION "${ORBISK_${_library}_LIBRARY}")
endforeach()
find_package(Threads REQUIRED)
