# cpack runs this over the packages that it made. It puts scripts that call ldconfig into a package with a shared library,
# whether there is a trigger for that or not.
foreach(package IN LISTS CPACK_PACKAGE_FILES)
  if(package MATCHES "/libvellox[0-9]+_[^/]*[.]deb$")
    set(folder "${CPACK_TEMPORARY_DIRECTORY}/repacked")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${folder}" COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE "${folder}/DEBIAN/postinst" "${folder}/DEBIAN/postrm")
    execute_process(COMMAND dpkg-deb --root-owner-group --build "${folder}" "${package}" OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
