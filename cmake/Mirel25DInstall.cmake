# Install rules and the exported package, so that another project can write
#   find_package(Mirel25D REQUIRED)
#   target_link_libraries(app PRIVATE Mirel25D::mirel25d)
include(CMakePackageConfigHelpers)

set(MIREL25D_CMAKE_INSTALL_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Mirel25D)

install(TARGETS mirel25d EXPORT Mirel25DTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
install(FILES ${MIREL25D_PUBLIC_HEADERS}
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/Mirel25D COMPONENT development)

install(EXPORT Mirel25DTargets
  NAMESPACE Mirel25D::
  FILE Mirel25DTargets.cmake
  DESTINATION ${MIREL25D_CMAKE_INSTALL_DIR} COMPONENT development)

configure_package_config_file(
  ${CMAKE_CURRENT_LIST_DIR}/Mirel25DConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/Mirel25DConfig.cmake
  INSTALL_DESTINATION ${MIREL25D_CMAKE_INSTALL_DIR})
write_basic_package_version_file(
  ${CMAKE_CURRENT_BINARY_DIR}/Mirel25DConfigVersion.cmake
  VERSION ${PROJECT_VERSION}
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${CMAKE_CURRENT_BINARY_DIR}/Mirel25DConfig.cmake
  ${CMAKE_CURRENT_BINARY_DIR}/Mirel25DConfigVersion.cmake
  DESTINATION ${MIREL25D_CMAKE_INSTALL_DIR} COMPONENT development)
