include(GNUInstallDirs)

set(XUM_PARTS "" CACHE INTERNAL "Object libraries linked into XUMComps")
set(XUM_PUBLIC_HEADERS "" CACHE INTERNAL "Headers installed with the package")

# Compiler warnings for every target of the project (never exported).
function(xum_warnings target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(XUM_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
endfunction()

# xum_add_part(NAME SOURCES ... HEADERS ... DEPENDS ...)
# Declares one folder of the library as an object library. Its headers are
# recorded for installation under include/xum/<folder>/.
function(xum_add_part name)
  cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;DEPENDS" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES} ${ARG_HEADERS})
  target_include_directories(${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_compile_features(${name} PUBLIC cxx_std_20)
  target_compile_definitions(${name} PRIVATE XUM_BUILDING_LIBRARY)
  # Calls between the library's own exported functions bind inside the
  # library (no PLT, inlining allowed); nothing is meant to interpose them.
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${name} PRIVATE -fno-semantic-interposition)
  endif()
  xum_warnings(${name})
  if(ARG_DEPENDS)
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
  endif()
  set(XUM_PARTS ${XUM_PARTS} ${name} CACHE INTERNAL "")
  file(RELATIVE_PATH folder ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR})
  foreach(h IN LISTS ARG_HEADERS)
    set(XUM_PUBLIC_HEADERS ${XUM_PUBLIC_HEADERS} "${folder}/${h}" CACHE INTERNAL "")
  endforeach()
endfunction()
