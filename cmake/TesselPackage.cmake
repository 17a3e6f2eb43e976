# The installed package: find_package(KavorTesselUtils CONFIG) gives Tessel::KavorTesselUtils,
# which brings the platform layer and its headers with it; on other systems than Windows,
# pkg-config finds the same library as KavorTesselUtils.
include(CMakePackageConfigHelpers)

set(tessel_targets KavorTesselUtils TesselPlatformHeaders)
if(NOT WIN32)
  list(APPEND tessel_targets TesselPlatform)
  tessel_use_library_runtime_path(KavorTesselUtils TesselPlatform)
endif()

install(TARGETS ${tessel_targets}
  EXPORT KavorTesselUtilsTargets
  RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/platform/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

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

if(NOT WIN32)
  # The prefix is found from the file's own place, so the package can be installed anywhere.
  set(tessel_pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
  if(IS_ABSOLUTE "${tessel_pkgconfig_dir}")
    set(TESSEL_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  else()
    file(RELATIVE_PATH tessel_pc_to_prefix "/${tessel_pkgconfig_dir}" "/")
    string(REGEX REPLACE "/$" "" tessel_pc_to_prefix "${tessel_pc_to_prefix}")
    set(TESSEL_PC_PREFIX "\${pcfiledir}/${tessel_pc_to_prefix}")
  endif()
  foreach(dir LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${dir}}")
      set(TESSEL_PC_${dir} "${CMAKE_INSTALL_${dir}}")
    else()
      set(TESSEL_PC_${dir} "\${prefix}/${CMAKE_INSTALL_${dir}}")
    endif()
  endforeach()
  configure_file(${PROJECT_SOURCE_DIR}/cmake/KavorTesselUtils.pc.in
    ${PROJECT_BINARY_DIR}/KavorTesselUtils.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/KavorTesselUtils.pc DESTINATION ${tessel_pkgconfig_dir})
endif()
