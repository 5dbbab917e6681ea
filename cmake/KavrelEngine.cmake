# SPDX-License-Identifier: Apache-2.0
#
# Defines the targets for the engine interface: `kavrel_interface` (the headers kavrel.h and cst.h)
# and `kavrel_engine` (the headers and an implementation). The implementation is the target `kavrel`;
# the options KAVREL_ENGINE_INCLUDE_DIR and KAVREL_ENGINE_LIBRARY select another one.

add_library(kavrel_interface INTERFACE)
add_library(kavrel_engine INTERFACE)
target_link_libraries(kavrel_engine INTERFACE kavrel_interface)

if(KAVREL_ENGINE_LIBRARY OR KAVREL_ENGINE_INCLUDE_DIR)
  if(NOT KAVREL_ENGINE_LIBRARY OR NOT KAVREL_ENGINE_INCLUDE_DIR)
    message(FATAL_ERROR
      "KAVREL_ENGINE_INCLUDE_DIR and KAVREL_ENGINE_LIBRARY must both be set; one of them is not set.")
  endif()
  target_include_directories(kavrel_interface INTERFACE "${KAVREL_ENGINE_INCLUDE_DIR}")
  target_link_libraries(kavrel_engine INTERFACE "${KAVREL_ENGINE_LIBRARY}")
elseif(APPLE)
  # On a Mac the plug-in is built with the engine that the host has. Ours is not portable:
  # kavrel-synth and the way to it use system calls of Linux.
  message(FATAL_ERROR
    "libkavrel needs Linux. Set KAVREL_ENGINE_INCLUDE_DIR and KAVREL_ENGINE_LIBRARY to another engine.")
else()
  target_include_directories(kavrel_interface INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/engine/include>")
  add_subdirectory(engine)
  target_link_libraries(kavrel_engine INTERFACE kavrel)
endif()
