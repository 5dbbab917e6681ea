# SPDX-License-Identifier: Apache-2.0
#
# Compares the names that LIBRARY exports (as NM lists them) with the functions and constants that
# the headers in the folder HEADERS mark as exported. Fails with the names that only one side has.

execute_process(
  COMMAND "${NM}" -D --defined-only -f posix "${LIBRARY}"
  OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]+" lines "${listing}")
list(TRANSFORM lines REPLACE " .*" "" OUTPUT_VARIABLE exported)

set(declared "")
file(GLOB_RECURSE headers "${HEADERS}/*.h")
foreach(header IN LISTS headers)
  file(READ "${header}" text)
  # A function's name ends at its "(", a constant's at its semicolon, which would separate list
  # elements.
  string(REPLACE ";" "(" text "${text}")
  string(REGEX MATCHALL "\nSPEECH_PLATFORM_API [A-Za-z0-9_ *\n]+\\(" heads "${text}")
  foreach(head IN LISTS heads)
    string(REGEX REPLACE "^.*[^A-Za-z0-9_]([A-Za-z0-9_]+)\\($" "\\1" name "${head}")
    list(APPEND declared "${name}")
  endforeach()
endforeach()

list(LENGTH declared count)
if(count EQUAL 0)
  message(FATAL_ERROR "No exported function is found in ${HEADERS}.")
endif()
set(undeclared ${exported})
list(REMOVE_ITEM undeclared ${declared})
set(missing ${declared})
list(REMOVE_ITEM missing ${exported})
if(undeclared OR missing)
  message(FATAL_ERROR
    "Exported but not declared: ${undeclared}\nDeclared but not exported: ${missing}")
endif()
