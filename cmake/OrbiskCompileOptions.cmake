# `orbisk_options`: what every target of ours is compiled with.
add_library(orbisk_options INTERFACE)
target_include_directories(orbisk_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(orbisk_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
  ${ORBISK_COMPILE_OPTIONS})

if(ORBISK_SANITIZE)
  target_compile_options(orbisk_options INTERFACE
    -fsanitize=${ORBISK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orbisk_options INTERFACE -fsanitize=${ORBISK_SANITIZE})
endif()
