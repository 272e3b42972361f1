cmake_minimum_required(VERSION 3.25)

# Installs the build into a scratch prefix and runs the installed `xum demo`
# from an unrelated, empty working folder: the program must find the samples
# installed beside it (share/xum/samples), not those of the source tree.
# Run as
#   cmake -DBUILD=<build dir> -DPREFIX=<scratch prefix> -DWORK=<empty folder>
#         -P check_installed_demo.cmake

file(REMOVE_RECURSE "${PREFIX}" "${WORK}")
execute_process(COMMAND "${CMAKE_COMMAND}" --install "${BUILD}" --prefix "${PREFIX}"
  RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "cmake --install failed (${rc}):\n${err}")
endif()

file(MAKE_DIRECTORY "${WORK}")
execute_process(
  COMMAND "${CMAKE_COMMAND}" -E env --unset=XUM_SAMPLES "${PREFIX}/bin/xum" demo
  WORKING_DIRECTORY "${WORK}"
  RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
file(REMOVE_RECURSE "${PREFIX}" "${WORK}")
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed xum demo exited with ${rc}:\n${err}")
endif()
set(expected "XUMComps demo on ${PREFIX}/share/xum/samples\n")
string(FIND "${out}" "${expected}" at)
if(NOT at EQUAL 0)
  string(SUBSTRING "${out}" 0 200 head)
  message(FATAL_ERROR "expected the report to start with\n  ${expected}but it starts with\n  ${head}")
endif()
# Every section ran: the archive section is the last one.
string(FIND "${out}" "read through a file stream: Title = " last)
if(last EQUAL -1)
  message(FATAL_ERROR "the report stops before the archive section:\n${out}")
endif()
message(STATUS "The installed xum demo read ${PREFIX}/share/xum/samples")
