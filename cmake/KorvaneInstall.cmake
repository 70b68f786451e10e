include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(_korvane_targets korvane_core korvane_facade korvane_sdk)
if(TARGET korvane_linux)
  list(APPEND _korvane_targets korvane_linux)
  install(DIRECTORY platforms/linux/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
endif()
install(TARGETS ${_korvane_targets} EXPORT KorvaneSDKTargets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT KorvaneSDKTargets NAMESPACE korvane::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KorvaneSDK)

configure_package_config_file(cmake/KorvaneSDKConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/KorvaneSDKConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KorvaneSDK)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KorvaneSDKConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KorvaneSDKConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/KorvaneSDKConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KorvaneSDK)
