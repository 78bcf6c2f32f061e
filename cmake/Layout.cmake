# Gives the macros by which frame.h knows how the library lays out strings and lists; for g++ as it comes there are none.
function(vellox_find_layout result)
  get_directory_property(flags COMPILE_OPTIONS)
  get_directory_property(definitions COMPILE_DEFINITIONS)
  list(TRANSFORM definitions PREPEND -D)
  list(APPEND flags ${definitions})
  set(${result} VELLOX_LAYOUT_UNKNOWN PARENT_SCOPE)
  # Which flags belong to which configuration is only known after configuring.
  if(CMAKE_CONFIGURATION_TYPES OR flags MATCHES "[$]<")
    return()
  endif()

  # The header itself finds out: each of its complaints names the macro that would settle it.
  set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
  set(CMAKE_TRY_COMPILE_CONFIGURATION ${CMAKE_BUILD_TYPE})
  try_compile(is_as_it_comes
    SOURCE_FROM_CONTENT layout.cpp "#include \"${PROJECT_SOURCE_DIR}/include/vellox/frame.h\"\n"
    NO_CACHE
    COMPILE_DEFINITIONS ${flags}
    CXX_STANDARD 17
    OUTPUT_VARIABLE complaints)
  string(REGEX MATCHALL "VELLOX_WITH_[A-Z]+" macros "${complaints}")
  list(REMOVE_DUPLICATES macros)
  if(is_as_it_comes OR macros)
    set(${result} "${macros}" PARENT_SCOPE)
  endif()
endfunction()
