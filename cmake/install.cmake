# Installation, in three components:
#   runtime      the shared library and its SONAME link
#   development  the headers, the libvornxml.so link, a CMake package
#                (find_package(VornXml 2) -> VornXml::vornxml) and a
#                pkg-config file
#   tool         the vornxml tool and its man page
# and the Debian packages made of them by CPack, one per component
# (libvornxml2, libvornxml-dev, vornxml).  For packages, configure with
# -DCMAKE_INSTALL_PREFIX=/usr: the library then goes to the multiarch folder
# (GNUInstallDirs) and the tool carries no run path.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set_target_properties(vornxml PROPERTIES EXPORT_NAME vornxml)
install(TARGETS vornxml EXPORT VornXmlTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development FILES_MATCHING PATTERN "*.h")
install(FILES ${PROJECT_BINARY_DIR}/include/vorn_xml_version.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development)

# Compressed as Debian wants documentation: gzip -9n (no name, no time
# stamp), so that the same sources give the same packages.
function(vornxml_gzip source target)
  add_custom_command(OUTPUT ${target} COMMAND gzip -9nc ${source} > ${target} DEPENDS ${source} VERBATIM)
endfunction()

if(TARGET vornxml_tool)
  install(TARGETS vornxml_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
  vornxml_gzip(${PROJECT_BINARY_DIR}/tools/vornxml.1 ${PROJECT_BINARY_DIR}/tools/vornxml.1.gz)
  add_custom_target(vornxml_man ALL DEPENDS ${PROJECT_BINARY_DIR}/tools/vornxml.1.gz)
  install(FILES ${PROJECT_BINARY_DIR}/tools/vornxml.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
  # Installed into a prefix of its own, the tool finds the library through a
  # run path relative to itself; installed where the system looks for
  # libraries (/usr, as in the packages), it needs none.
  list(FIND CMAKE_CXX_IMPLICIT_LINK_DIRECTORIES "${CMAKE_INSTALL_FULL_LIBDIR}" vornxml_system_libdir)
  if(vornxml_system_libdir EQUAL -1)
    set_target_properties(vornxml_tool PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  endif()
endif()

set(vornxml_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/VornXml)
install(EXPORT VornXmlTargets NAMESPACE VornXml:: DESTINATION ${vornxml_cmake_dir} COMPONENT development)
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/VornXmlConfig.cmake.in
  ${PROJECT_BINARY_DIR}/VornXmlConfig.cmake INSTALL_DESTINATION ${vornxml_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/VornXmlConfigVersion.cmake
  VERSION ${PROJECT_VERSION} COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/VornXmlConfig.cmake ${PROJECT_BINARY_DIR}/VornXmlConfigVersion.cmake
  DESTINATION ${vornxml_cmake_dir} COMPONENT development)

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
" COMPONENT development)

# Each package's copyright file and changelog, in /usr/share/doc/PACKAGE.
set(vornxml_packages runtime libvornxml2 development libvornxml-dev tool vornxml)
set(VORNXML_DEBIAN_RELEASE 1)
while(vornxml_packages)
  list(POP_FRONT vornxml_packages component package)
  set(VORNXML_PACKAGE ${package})
  configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in
    ${PROJECT_BINARY_DIR}/debian/${package}/changelog.Debian @ONLY)
  vornxml_gzip(${PROJECT_BINARY_DIR}/debian/${package}/changelog.Debian
    ${PROJECT_BINARY_DIR}/debian/${package}/changelog.Debian.gz)
  add_custom_target(vornxml_changelog_${component} ALL DEPENDS ${PROJECT_BINARY_DIR}/debian/${package}/changelog.Debian.gz)
  install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/${package}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
endwhile()

set(CPACK_PACKAGE_NAME vornxml)
set(CPACK_PACKAGE_VENDOR "The vornxml developers")
set(CPACK_PACKAGE_CONTACT "The vornxml developers <vornxml@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
# Each package gives its own synopsis, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET vornxml_tool)
  list(APPEND CPACK_COMPONENTS_ALL tool)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE ${VORNXML_DEBIAN_RELEASE})
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://example.org/vornxml")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# The runtime package says which package provides libvornxml.so.2 (its
# shlibs file), for the packages of hosts built against it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# The tool's dependency on the library is written below, not found.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(vornxml_exact "libvornxml2 (= ${PROJECT_VERSION}-${VORNXML_DEBIAN_RELEASE})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libvornxml2)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "small, fast XML parsing library (shared library)
vornxml reads XML documents into a tree of elements, or as a stream of
events, and writes trees back.  This package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvornxml-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${vornxml_exact}")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "small, fast XML parsing library (development files)
vornxml reads XML documents into a tree of elements, or as a stream of
events, and writes trees back.  This package holds the headers, the CMake
package (find_package(VornXml 2)) and the pkg-config file (vornxml).")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vornxml)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION text)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${vornxml_exact}")
set(CPACK_DEBIAN_TOOL_DESCRIPTION "small, fast XML parsing library (command-line tool)
vornxml reads XML documents into a tree of elements, or as a stream of
events, and writes trees back.  This package holds the vornxml tool, which
checks, prints, reformats and selects from documents.")
include(CPack)
