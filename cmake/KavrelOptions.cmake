# SPDX-License-Identifier: Apache-2.0
#
# Compiler and linker settings of all targets. `kavrel_target(NAME)` applies them to one target. No
# global setting is changed, so that a project that includes this one keeps its own.

set(KAVREL_LIB_DIR "${PROJECT_BINARY_DIR}/lib")
set(KAVREL_BIN_DIR "${PROJECT_BINARY_DIR}/bin")
set(KAVREL_LIBEXEC_DIR "${PROJECT_BINARY_DIR}/libexec/kavrel")
# The folders in which the Manager searches for plug-ins and voices, relative to the folder with its
# library. They are the same in the build tree and in an installation.
set(KAVREL_SYNTHESIZERS_SUBDIR "speechmanager/Synthesizers")
set(KAVREL_VOICES_SUBDIR "speechmanager/Voices")
set(KAVREL_VOICES_DIR "${PROJECT_BINARY_DIR}/share/${KAVREL_VOICES_SUBDIR}")

find_package(Threads REQUIRED)

function(kavrel_target target)
  # The C standard is a property, since a compile feature would also apply to consumers that use only
  # C++.
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    C_STANDARD 11
    C_STANDARD_REQUIRED ON
    CXX_VISIBILITY_PRESET hidden
    C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    BUILD_RPATH_USE_ORIGIN ON
    LIBRARY_OUTPUT_DIRECTORY "${KAVREL_LIB_DIR}"
    ARCHIVE_OUTPUT_DIRECTORY "${KAVREL_LIB_DIR}"
    RUNTIME_OUTPUT_DIRECTORY "${KAVREL_BIN_DIR}")
  # -Wthread-safety: clang checks the annotations of base/threads/ThreadAnnotations.h.
  # -Wno-restrict: g++ 12 reports false overlaps for inlined string concatenations.
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wconversion -Wno-psabi -Werror
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety>)
  if(KAVREL_COVERAGE)
    # Code runs in several threads, so the counters need atomic updates. Paths stay absolute, so that
    # gcov finds the sources.
    target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
    target_link_options(${target} PRIVATE --coverage)
  else()
    # Builds in different folders give the same files, since neither path is compiled in.
    target_compile_options(${target} PRIVATE
      "-ffile-prefix-map=${PROJECT_BINARY_DIR}/=build/"
      "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
  endif()
  if(KAVREL_SANITIZE)
    # -Wno-maybe-uninitialized: g++ 12 reports false findings in the code that its sanitizers add.
    target_compile_options(${target} PRIVATE -fsanitize=${KAVREL_SANITIZE}
      -fno-sanitize-recover=all -fno-omit-frame-pointer
      $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PRIVATE -fsanitize=${KAVREL_SANITIZE})
  else()
    target_compile_options(${target} PRIVATE
      $<$<CONFIG:Release>:-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    if(NOT APPLE)
      target_link_options(${target} PRIVATE -Wl,-z,defs,-z,relro,-z,now,-z,noexecstack)
    endif()
  endif()
  target_link_libraries(${target} PUBLIC Threads::Threads)
endfunction()

# Sets the RUNPATH of an installed program or plug-in: the library folder relative to FOLDER, the
# folder that the target is installed in. Built and installed files have the same RUNPATH. If they
# differed, CMake would patch the files during installation and, to reserve bytes for that, end the
# RUNPATH of the built files with an empty element, which the dynamic loader reads as the current
# folder.
function(kavrel_installed_runpath target folder)
  file(RELATIVE_PATH to_installed_libs "${folder}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  get_target_property(built_folder ${target} RUNTIME_OUTPUT_DIRECTORY)
  get_target_property(type ${target} TYPE)
  if(NOT type STREQUAL "EXECUTABLE")
    get_target_property(built_folder ${target} LIBRARY_OUTPUT_DIRECTORY)
  endif()
  file(RELATIVE_PATH to_built_libs "${built_folder}" "${KAVREL_LIB_DIR}")
  set(elements "$ORIGIN/${to_installed_libs}" "$ORIGIN/${to_built_libs}")
  list(TRANSFORM elements REPLACE "/$" "")
  # The two elements differ only if the library folder has another name than `lib`.
  list(REMOVE_DUPLICATES elements)
  # An engine of another project stays where it is.
  if(KAVREL_ENGINE_LIBRARY)
    cmake_path(GET KAVREL_ENGINE_LIBRARY PARENT_PATH engine_folder)
    list(APPEND elements "${engine_folder}")
  endif()
  set_target_properties(${target} PROPERTIES
    BUILD_WITH_INSTALL_RPATH ON
    INSTALL_RPATH "${elements}")
endfunction()
