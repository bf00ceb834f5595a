# What `make install` puts where: headers, library, tool, CMake package, pkg-config file, man page.
include(CMakePackageConfigHelpers)

set(packageFolder ${CMAKE_INSTALL_LIBDIR}/cmake/parvel)

install(TARGETS parvel EXPORT parvelTargets)
install(DIRECTORY include/parvel DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
install(EXPORT parvelTargets NAMESPACE parvel:: DESTINATION ${packageFolder})
configure_file(cmake/parvelConfig.cmake.in cmake/parvelConfig.cmake @ONLY)
write_basic_package_version_file(cmake/parvelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
    FILES ${PROJECT_BINARY_DIR}/cmake/parvelConfig.cmake ${PROJECT_BINARY_DIR}/cmake/parvelConfigVersion.cmake
    DESTINATION ${packageFolder})

# The pkg-config file finds its prefix from where it lies, so that the installed tree can be moved.
file(RELATIVE_PATH prefixFromPkgConfig
    ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(cmake/parvel.pc.in cmake/parvel.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/cmake/parvel.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

if(PARVEL_BUILD_TOOL)
    install(TARGETS parvel_cli)
    install(FILES docs/parvel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
endif()
