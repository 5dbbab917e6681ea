# SPDX-License-Identifier: Apache-2.0
#
# How every target of the project is compiled and linked. `kavrel_target(NAME)` applies it; nothing
# is set globally but the language and the output folders, so that a project that takes this one in
# keeps its own settings.

set(KAVREL_LIB_DIR "${PROJECT_BINARY_DIR}/lib")
set(KAVREL_BIN_DIR "${PROJECT_BINARY_DIR}/bin")
# Where the Manager looks for plug-ins and voices, relative to the folder of its own library: the
# same in the build tree and where the project is installed.
set(KAVREL_SYNTHESIZERS_SUBDIR "speechmanager/Synthesizers")
set(KAVREL_VOICES_SUBDIR "speechmanager/Voices")
set(KAVREL_VOICES_DIR "${PROJECT_BINARY_DIR}/share/${KAVREL_VOICES_SUBDIR}")

find_package(Threads REQUIRED)

function(kavrel_target target)
  target_compile_features(${target} PUBLIC cxx_std_20 c_std_11)
  set_target_properties(${target} PROPERTIES
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    C_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    POSITION_INDEPENDENT_CODE ON
    BUILD_RPATH_USE_ORIGIN ON
    LIBRARY_OUTPUT_DIRECTORY "${KAVREL_LIB_DIR}"
    ARCHIVE_OUTPUT_DIRECTORY "${KAVREL_LIB_DIR}"
    RUNTIME_OUTPUT_DIRECTORY "${KAVREL_BIN_DIR}")
  # clang refuses breaches of the annotations in base/threads/ThreadAnnotations.h.
  # g++ 12 takes joined strings for overlapping ones where it inlines them (-Wrestrict).
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wshadow -Wconversion -Wno-psabi -Werror
    $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
    $<$<CXX_COMPILER_ID:Clang,AppleClang>:-Wthread-safety>)
  if(KAVREL_SANITIZE)
    # g++ 12 takes what its sanitizers add for uses of unset values.
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
