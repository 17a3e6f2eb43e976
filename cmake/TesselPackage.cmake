# The installed package: find_package(KavorTesselUtils CONFIG) gives Tessel::KavorTesselUtils,
# which brings the platform layer and its headers with it.
include(CMakePackageConfigHelpers)

set(tessel_targets KavorTesselUtils TesselPlatformHeaders)
if(NOT WIN32)
  list(APPEND tessel_targets TesselPlatform)
endif()

install(TARGETS ${tessel_targets}
  EXPORT KavorTesselUtilsTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(tessel_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/KavorTesselUtils)
install(EXPORT KavorTesselUtilsTargets NAMESPACE Tessel:: DESTINATION ${tessel_cmake_dir})
export(EXPORT KavorTesselUtilsTargets NAMESPACE Tessel::
  FILE ${PROJECT_BINARY_DIR}/KavorTesselUtilsTargets.cmake)

configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/KavorTesselUtilsConfig.cmake.in
  ${PROJECT_BINARY_DIR}/KavorTesselUtilsConfig.cmake
  INSTALL_DESTINATION ${tessel_cmake_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KavorTesselUtilsConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/KavorTesselUtilsConfig.cmake
  ${PROJECT_BINARY_DIR}/KavorTesselUtilsConfigVersion.cmake
  DESTINATION ${tessel_cmake_dir})
