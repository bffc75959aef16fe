cmake_minimum_required(VERSION 3.25)
# Checks the names a shared object exports:
#   cmake -DNM=nm -DLIBRARY=lib.so -DALLOWED=<regex> -DREQUIRED=<name;...> -P CheckExports.cmake
# Every defined dynamic symbol, demangled, must match ALLOWED, and each name
# of REQUIRED must be among them.
execute_process(COMMAND ${NM} -D --defined-only -j -C ${LIBRARY}
                OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "${NM} failed on ${LIBRARY}")
endif()
string(REPLACE ";" "\\;" listing "${listing}")
string(REPLACE "\n" ";" names "${listing}")
list(REMOVE_ITEM names "")
set(unexpected "")
foreach(name IN LISTS names)
  if(NOT name MATCHES "${ALLOWED}")
    string(APPEND unexpected "\n  ${name}")
  endif()
endforeach()
if(unexpected)
  message(FATAL_ERROR "${LIBRARY} exports names it should keep to itself:${unexpected}")
endif()
foreach(name IN LISTS REQUIRED)
  if(NOT name IN_LIST names)
    message(FATAL_ERROR "${LIBRARY} does not export ${name}")
  endif()
endforeach()
list(LENGTH names count)
message(STATUS "${LIBRARY}: ${count} names, all expected")
