# SPDX-License-Identifier: Apache-2.0
#
# Runs PROGRAM, a list with its arguments, and the name of an audio file in FOLDER, NAME.aiff, with
# the file INPUT as its standard input if there is one; fails unless it succeeds and prints the
# content of EXPECTED.
cmake_minimum_required(VERSION 3.25)

set(sound "${FOLDER}/client_${NAME}.aiff")
set(input "")
if(INPUT)
  set(input INPUT_FILE "${INPUT}")
endif()
file(REMOVE "${sound}")
execute_process(COMMAND ${PROGRAM} "${sound}" ${input}
  OUTPUT_VARIABLE printed RESULT_VARIABLE result)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "It ended with ${result}, and had printed\n${printed}")
endif()
file(READ "${EXPECTED}" expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "It printed\n${printed}instead of\n${expected}")
endif()
