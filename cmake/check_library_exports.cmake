# Checks that a shared library exports exactly the expected names, no more and no fewer.
#
#   cmake -DLIBRARY=<file> -DFORMAT=pe|elf -DTOOL=<objdump or nm> -DEXPECTED=<name,name,...> -P this file
#
# PE: the names of the export table as `objdump -p` prints them. ELF: the defined dynamic symbols as
# `nm -D --defined-only` prints them.

if(FORMAT STREQUAL "pe")
  execute_process(COMMAND ${TOOL} -p ${LIBRARY} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
  string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n([^\n]+\n)*" table "${listing}")
  string(REGEX MATCHALL "\\[ *[0-9]+\\] [^\n]+" lines "${table}")
  set(entries "")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^\\[ *[0-9]+\\] " "" name "${line}")
    list(APPEND entries "${name}")
  endforeach()
else()
  execute_process(COMMAND ${TOOL} -D --defined-only ${LIBRARY} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
  string(REGEX MATCHALL "[^\n]+" lines "${listing}")
  set(entries "")
  foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] " "" name "${line}")
    list(APPEND entries "${name}")
  endforeach()
endif()
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${TOOL} could not read ${LIBRARY}")
endif()

list(SORT entries)
string(REPLACE "," ";" wanted "${EXPECTED}")
list(SORT wanted)
message(STATUS "exports of ${LIBRARY}: ${entries}")
if(NOT entries STREQUAL wanted)
  message(FATAL_ERROR "expected exactly: ${wanted}")
endif()
