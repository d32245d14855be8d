# `orbisk_options`: what every target of ours is compiled with.
add_library(orbisk_options INTERFACE)
target_include_directories(orbisk_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(orbisk_options INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor
  # AArch64 compilers fuse a * b + c into one rounding, x86-64 ones do not: off, so that every target computes
  # the same single-precision matrices and normals.
  -ffp-contract=off)

if(ORBISK_SANITIZE)
  target_compile_options(orbisk_options INTERFACE
    -fsanitize=${ORBISK_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(orbisk_options INTERFACE -fsanitize=${ORBISK_SANITIZE})
endif()
