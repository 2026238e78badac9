# Runs PROGRAM in DIRECTORY, which is emptied first, and compares what it prints with the file EXPECTED, in which
# <number> stands for any number. The program must answer 0.
file(REMOVE_RECURSE "${DIRECTORY}")
file(MAKE_DIRECTORY "${DIRECTORY}")
list(REMOVE_ITEM PROGRAM "")
execute_process(COMMAND ${PROGRAM} WORKING_DIRECTORY "${DIRECTORY}" OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result STREQUAL "0")
  message(FATAL_ERROR "The example answers ${result}. It printed:\n${output}")
endif()

file(READ "${EXPECTED}" expected)
string(REGEX REPLACE "([][+.*?^$()|\\\\])" "\\\\\\1" pattern "${expected}")
string(REPLACE "<number>" "[0-9]+" pattern "${pattern}")
string(REPLACE "\r\n" "\n" output "${output}")
if(NOT output MATCHES "^${pattern}$")
  message(FATAL_ERROR "The example printed:\n${output}\nExpected:\n${expected}")
endif()
