cmake_minimum_required(VERSION 3.25)

# Fails when a library file includes a header from a folder above its own
# layer, listing every offending file:line. Run as
#   cmake -DROOT=<source dir> -P check_layer_order.cmake
#
# The layers, lowest first:
#   core base (the headers in core_base below) <- platform/ <- core services
#   (the rest of core/) <- streams/ <- formats/ <- localization/, imaging/;
#   framework/ sits on core and platform; net/ on framework; ui/ and app/ on
#   everything below them; tools/ on everything.
# localization/ includes framework/ for the package start-up and the font
# record's TFont half; imaging/ includes framework/ for the exchange with
# TBitmap and the image lists, tool bars and buttons it fills. app/ may include ui/ (its shared UI utilities), not
# the other way round. Widen a row only together with the folder's README.

# Folder -> the folders its files may include ("self" is always allowed).
set(allowed_core         core platform)
set(allowed_platform     core platform)
set(allowed_streams      core platform streams)
set(allowed_formats      core streams formats)
set(allowed_framework    core platform framework)
set(allowed_localization core platform streams formats framework localization)
set(allowed_imaging      core streams formats framework imaging)
set(allowed_net          core platform streams framework net)
set(allowed_ui           core platform streams formats framework localization imaging net ui)
set(allowed_app          core platform streams formats framework localization imaging net ui app)
set(allowed_backends     core platform streams formats framework localization imaging net ui app backends)
set(allowed_tools        core platform streams formats framework localization imaging net ui app backends tools)
set(folders core platform streams formats framework localization imaging net ui app backends tools)

# The core base: headers that use nothing but the standard library and one
# another. platform/ may include these and no other core header; they may
# include no other core header and nothing from platform/, so the operating
# system interface stays below the core services that call it.
set(core_base
  core/xcatalogue.h core/xexception.h core/xexceptions.h core/xexport.h
  core/xle.h core/xstr.h core/xutf.h core/xvector.h)

# Every top-level folder of the source tree: an angle-bracket include of one
# of these is treated like a quoted one.
file(GLOB top_entries RELATIVE "${ROOT}" "${ROOT}/*")
set(project_folders "")
foreach(entry IN LISTS top_entries)
  if(IS_DIRECTORY "${ROOT}/${entry}")
    list(APPEND project_folders "${entry}")
  endif()
endforeach()

set(offenders "")
foreach(folder IN LISTS folders)
  file(GLOB_RECURSE files RELATIVE "${ROOT}" "${ROOT}/${folder}/*.h" "${ROOT}/${folder}/*.cpp")
  list(SORT files)
  foreach(rel IN LISTS files)
    list(FIND core_base "${rel}" base_index)
    file(READ "${ROOT}/${rel}" content)
    # One list element per line: characters that CMake lists treat specially
    # are replaced first, so line numbers stay exact.
    string(REPLACE "\\" "/" content "${content}")
    string(REPLACE ";" "," content "${content}")
    string(REPLACE "[" "(" content "${content}")
    string(REPLACE "]" ")" content "${content}")
    string(REPLACE "\n" ";" lines "${content}")
    set(line_no 0)
    foreach(line IN LISTS lines)
      math(EXPR line_no "${line_no} + 1")
      if(NOT line MATCHES "^[ \t]*#[ \t]*include[ \t]*([\"<])([^\">]*)[\">]")
        continue()
      endif()
      set(quote "${CMAKE_MATCH_1}")
      set(target "${CMAKE_MATCH_2}")
      if(NOT target MATCHES "^([^/]+)/")
        continue()  # a header named without a folder: standard or third-party
      endif()
      set(to "${CMAKE_MATCH_1}")
      if(quote STREQUAL "<")
        list(FIND project_folders "${to}" is_project)
        if(is_project EQUAL -1)
          continue()  # <gtest/gtest.h>, <sys/stat.h> ...
        endif()
      endif()
      set(why "")
      if(NOT base_index EQUAL -1)
        list(FIND core_base "${target}" target_base)
        if(target_base EQUAL -1)
          set(why "the core base may include only core base headers")
        endif()
      elseif(folder STREQUAL "platform" AND to STREQUAL "core")
        list(FIND core_base "${target}" target_base)
        if(target_base EQUAL -1)
          set(why "platform/ may include only the core base from core/")
        endif()
      elseif(NOT to STREQUAL folder)
        list(FIND allowed_${folder} "${to}" ok)
        if(ok EQUAL -1)
          set(why "${folder}/ may not include ${to}/")
        endif()
      endif()
      if(why)
        list(APPEND offenders "${rel}:${line_no}: includes ${target} (${why})")
      endif()
    endforeach()
  endforeach()
endforeach()

if(offenders)
  list(LENGTH offenders count)
  list(JOIN offenders "\n" text)
  message(NOTICE "${text}")
  message(FATAL_ERROR "${count} include(s) point up the layer order")
endif()
message(STATUS "Every include follows the layer order")
