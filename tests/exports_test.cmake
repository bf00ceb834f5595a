# What leaves the library is what tests/exports.txt lists, and nothing else.
#   cmake -DNM=... -DLIBRARY=... -DEXPECTED=tests/exports.txt -P exports_test.cmake
cmake_minimum_required(VERSION 3.25)

execute_process(
    COMMAND ${NM} --dynamic --defined-only --format=posix ${LIBRARY}
    OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE " [^\n]*\n" ";" exported "${output}")
list(REMOVE_ITEM exported "")
list(SORT exported)

file(STRINGS ${EXPECTED} expected)
list(SORT expected)
if(NOT exported STREQUAL expected)
    message(FATAL_ERROR "exported: ${exported}\nexpected: ${expected}")
endif()
