include(CMakePackageConfigHelpers)

# Only public headers are installed: the operating-system layer in
# platform/ and the test doubles in platform/testing/ belong to the library
# and its tests.
foreach(h IN LISTS XUM_PUBLIC_HEADERS)
  if(h MATCHES "^platform/")
    message(FATAL_ERROR "${h}: platform headers are not installed")
  endif()
  get_filename_component(dir ${h} DIRECTORY)
  install(FILES ${PROJECT_SOURCE_DIR}/${h}
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/xum/${dir})
endforeach()

install(TARGETS XUMComps EXPORT XUMCompsTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT XUMCompsTargets
  NAMESPACE XUMComps::
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/XUMComps)

configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/cmake/XUMCompsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/XUMCompsConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/XUMComps)
write_basic_package_version_file(
  ${PROJECT_BINARY_DIR}/XUMCompsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/XUMCompsConfig.cmake
  ${PROJECT_BINARY_DIR}/XUMCompsConfigVersion.cmake
  ${PROJECT_SOURCE_DIR}/cmake/XUMResources.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/XUMComps)

configure_file(${PROJECT_SOURCE_DIR}/cmake/XUMComps.pc.in
  ${PROJECT_BINARY_DIR}/XUMComps.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/XUMComps.pc
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(DIRECTORY ${PROJECT_SOURCE_DIR}/samples/
  DESTINATION ${CMAKE_INSTALL_DATADIR}/xum/samples)
