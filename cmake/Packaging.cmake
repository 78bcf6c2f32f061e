# What cpack makes. On Linux: Debian packages of the library, of what it takes to compile against it, of the example host,
# and of the debug symbols. On Windows: a ZIP of all.
set(CPACK_PACKAGE_CONTACT "Vellox maintainers <maintainers@vellox.invalid>")
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/PreparePackages.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/FinishPackages.cmake)
set(CPACK_VELLOX_CHANGES ${PROJECT_SOURCE_DIR}/CHANGELOG.md)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_STRIP_FILES ON)
  install(FILES README.md CHANGELOG.md DESTINATION doc COMPONENT documentation)
  install(DIRECTORY docs DESTINATION doc COMPONENT documentation FILES_MATCHING PATTERN "*.md" PATTERN "*.svg")
  include(CPack)
  return()
endif()

set(library libvellox${PROJECT_VERSION_MAJOR})
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime development symbols)
if(VELLOX_BUILD_EXAMPLES)
  list(APPEND CPACK_COMPONENTS_ALL songbin)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own

# The control files say which package to depend on, and when the linker's cache is out of date.
file(WRITE ${PROJECT_BINARY_DIR}/debian/shlibs "libvellox ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")
file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
  ${PROJECT_BINARY_DIR}/debian/shlibs ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "file and path library of an audio workstation
It takes paths apart, lists, creates, copies and deletes files and folders,
and moves takes and songs into a trash of its own and back.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvellox-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "file and path library of an audio workstation (development)
What it takes to compile a program against the library: headers, and files
for CMake and pkg-config.")

set(CPACK_DEBIAN_SONGBIN_PACKAGE_NAME songbin)
set(CPACK_DEBIAN_SONGBIN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_SONGBIN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_SONGBIN_PACKAGE_DEPENDS "${library} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_SONGBIN_DESCRIPTION "trash for songs and takes that gives them back
An example of a program on the Vellox library, for the command line, with a
song to try it on.")

set(CPACK_DEBIAN_SYMBOLS_PACKAGE_NAME vellox-dbgsym)
set(CPACK_DEBIAN_SYMBOLS_PACKAGE_SECTION debug)
set(CPACK_COMPONENT_SYMBOLS_DESCRIPTION "file and path library of an audio workstation (debug symbols)
Debuggers find them by the build ids of the library and of songbin.")
install(DIRECTORY DESTINATION lib/debug/.build-id COMPONENT symbols)
include(CPack)
