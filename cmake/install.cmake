# Installation: headers, the shared library with its SONAME links, a CMake
# package (find_package(VornXml CONFIG) -> VornXml::vornxml), a pkg-config
# file, the tool and its man page; and a Debian package through CPack (cpack -G DEB).
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(vornxml PROPERTIES EXPORT_NAME vornxml)
install(TARGETS vornxml EXPORT VornXmlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/include/vorn_xml_version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET vornxml_tool)
  install(TARGETS vornxml_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
  install(FILES ${PROJECT_BINARY_DIR}/tools/vornxml.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()

set(vornxml_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VornXml)
install(EXPORT VornXmlTargets NAMESPACE VornXml:: DESTINATION ${vornxml_cmake_dir})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VornXmlConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VornXmlConfig.cmake INSTALL_DESTINATION ${vornxml_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VornXmlConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VornXmlConfig.cmake ${PROJECT_BINARY_DIR}/VornXmlConfigVersion.cmake
  DESTINATION ${vornxml_cmake_dir})

# The prefix is written into the file at install time, so that
# cmake --install --prefix DIR gives a file that points into DIR.
install(CODE "
  set(CMAKE_INSTALL_PREFIX \"\${CMAKE_INSTALL_PREFIX}\")
  set(CMAKE_INSTALL_LIBDIR \"${CMAKE_INSTALL_LIBDIR}\")
  set(CMAKE_INSTALL_INCLUDEDIR \"${CMAKE_INSTALL_INCLUDEDIR}\")
  set(PROJECT_DESCRIPTION \"${PROJECT_DESCRIPTION}\")
  set(PROJECT_VERSION \"${PROJECT_VERSION}\")
  configure_file(\"${PROJECT_SOURCE_DIR}/cmake/vornxml.pc.in\" \"${PROJECT_BINARY_DIR}/vornxml.pc\" @ONLY)
  file(INSTALL \"${PROJECT_BINARY_DIR}/vornxml.pc\" DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig\")
")

set(CPACK_PACKAGE_NAME vornxml)
set(CPACK_PACKAGE_VENDOR "vornxml developers")
set(CPACK_PACKAGE_CONTACT "vornxml developers <vornxml@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libc6, libstdc++6")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
include(CPack)
