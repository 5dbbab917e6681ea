# SPDX-License-Identifier: Apache-2.0
#
# Runs PROGRAM with ARGUMENTS and the name of an audio file in FOLDER; fails unless it succeeds and
# prints the content of EXPECTED.
cmake_minimum_required(VERSION 3.25)

cmake_path(GET PROGRAM STEM name)
set(sound "${FOLDER}/${name}.aiff")
file(REMOVE "${sound}")
execute_process(COMMAND "${PROGRAM}" ${ARGUMENTS} "${sound}" OUTPUT_VARIABLE printed RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "It ended with ${result}, and had printed\n${printed}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "It printed\n${printed}instead of\n${expected}")
endif()
