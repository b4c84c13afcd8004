# The installed tree: libraries, headers, a package for find_package(lumen) and one for pkg-config.
include(CMakePackageConfigHelpers)

install(TARGETS lumen_static lumen_shared EXPORT lumenTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS lumenTest RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES docs/lumenTest.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(DIRECTORY include/lumen DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(LUMEN_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/lumen)
install(EXPORT lumenTargets NAMESPACE lumen:: DESTINATION ${LUMEN_PACKAGE_DIR})
configure_package_config_file(cmake/lumenConfig.cmake.in lumenConfig.cmake
  INSTALL_DESTINATION ${LUMEN_PACKAGE_DIR})
write_basic_package_version_file(lumenConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/lumenConfig.cmake ${PROJECT_BINARY_DIR}/lumenConfigVersion.cmake
  DESTINATION ${LUMEN_PACKAGE_DIR})

# The installed tree may be moved: its file knows its prefix by the way up, which a library folder of
# several levels (lib/x86_64-linux-gnu) makes longer.
file(RELATIVE_PATH LUMEN_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/lumen.pc.in lumen.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/lumen.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
