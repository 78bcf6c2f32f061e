# What `cmake --install` puts in place: the headers, the library, and the files by which CMake and pkg-config find them.
include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Vellox)
install(DIRECTORY include/vellox TYPE INCLUDE COMPONENT development FILES_MATCHING PATTERN "*.h")
install(TARGETS vellox EXPORT VelloxTargets
  RUNTIME COMPONENT runtime
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  ARCHIVE COMPONENT development
  INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT VelloxTargets NAMESPACE Vellox:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/VelloxConfig.cmake.in VelloxConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(VelloxConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/VelloxConfig.cmake
  ${PROJECT_BINARY_DIR}/VelloxConfigVersion.cmake
  cmake/VelloxProgram.cmake
  cmake/VelloxProgram.rc
  DESTINATION ${package_dir} COMPONENT development)

# The installed tree can be moved: the file finds its prefix from where it stands.
file(RELATIVE_PATH VELLOX_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
list(TRANSFORM VELLOX_LAYOUT PREPEND " -D" OUTPUT_VARIABLE VELLOX_PC_DEFINITIONS)
list(JOIN VELLOX_PC_DEFINITIONS "" VELLOX_PC_DEFINITIONS)
configure_file(cmake/vellox.pc.in vellox.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/vellox.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
