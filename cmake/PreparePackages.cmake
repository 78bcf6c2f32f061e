# cpack runs this over the installed files before it packs them.
set(stage "${CPACK_TEMPORARY_DIRECTORY}")

# Debug symbols go by the build id to a file of their own.
function(split_symbols binary)
  execute_process(COMMAND readelf --notes "${binary}" OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)" id "${notes}")
  set(symbols "${stage}/symbols/usr/lib/debug/.build-id/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug")
  get_filename_component(folder "${symbols}" DIRECTORY)
  file(MAKE_DIRECTORY "${folder}")
  execute_process(COMMAND objcopy --only-keep-debug --compress-debug-sections "${binary}" "${symbols}"
    COMMAND_ERROR_IS_FATAL ANY)
  execute_process(COMMAND strip --strip-unneeded --remove-section=.comment --remove-section=.note "${binary}"
    COMMAND_ERROR_IS_FATAL ANY)
  file(CHMOD "${symbols}" PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

# The changes of this version as Debian writes them.
function(debian_changelog result)
  file(READ "${CPACK_VELLOX_CHANGES}" text)
  string(REGEX REPLACE ".*\n## ${CPACK_PACKAGE_VERSION}\n" "" text "${text}")
  string(REGEX REPLACE "\n## .*" "\n" text "${text}")
  string(REGEX REPLACE "\n  +" " " text "${text}")
  string(REGEX MATCHALL "- [^\n]+\n" items "${text}")
  list(JOIN items "" text)
  execute_process(COMMAND printf "%s" "${text}" COMMAND fold --spaces --width=74 OUTPUT_VARIABLE text)
  string(REGEX REPLACE " *\n" "\n    " text "${text}")
  string(REPLACE "\n    - " "\n  * " text "\n    ${text}")
  string(STRIP "${text}" text)
  string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
  set(${result} "vellox (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  ${text}

 -- ${CPACK_PACKAGE_CONTACT}  ${date}\n" PARENT_SCOPE)
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
  file(GLOB binaries "${stage}/runtime/usr/lib/*/libvellox.so.*.*" "${stage}/runtime/usr/lib/libvellox.so.*.*"
    "${stage}/songbin/usr/bin/songbin")
  foreach(binary IN LISTS binaries)
    split_symbols("${binary}")
  endforeach()
  debian_changelog(changelog)
  foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    file(WRITE "${stage}/${component}/usr/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}/changelog" "${changelog}")
  endforeach()
  file(GLOB texts "${stage}/*/usr/share/doc/*/changelog" "${stage}/*/usr/share/man/man*/*.[0-9]")
  execute_process(COMMAND gzip -9nf ${texts} COMMAND_ERROR_IS_FATAL ANY)
endif()

# The same files make the same package.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find "${stage}" -exec touch --no-dereference "--date=@$ENV{SOURCE_DATE_EPOCH}" "{}" +
    COMMAND_ERROR_IS_FATAL ANY)
endif()
