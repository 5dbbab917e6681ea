# SPDX-License-Identifier: Apache-2.0
#
# Runs the program of docs/engine.md. Fails unless it prints the output that the page shows and
# writes an audio file: cmake -DPROGRAM=… -DVOICE=… -DFOLDER=… -P example.cmake. FOLDER holds
# speak.out.
cmake_minimum_required(VERSION 3.25)

set(sound "${FOLDER}/speak.aiff")
file(REMOVE "${sound}")
execute_process(COMMAND "${PROGRAM}" "${sound}" "${VOICE}"
  OUTPUT_VARIABLE printed COMMAND_ERROR_IS_FATAL ANY)
file(READ "${FOLDER}/speak.out" expected)
if(NOT printed STREQUAL expected)
  message(FATAL_ERROR "The program printed\n${printed}instead of\n${expected}")
endif()
file(SIZE "${sound}" size)
# A second of audio.
if(size LESS 44100)
  message(FATAL_ERROR "${sound} has ${size} bytes")
endif()
