# Warnings are errors in the project's own builds; a packager can switch that off.
option(VELLOX_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

function(vellox_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  # GCC 12 finds overlaps in std::string that are not there.
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(${target} PRIVATE -Wno-restrict)
  endif()
  if(VELLOX_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# What the compiler and the processor check at run time for next to nothing. The linkers have their own.
function(vellox_set_hardening target)
  if(NOT VELLOX_SANITIZE)
    target_compile_options(${target} PRIVATE -fstack-protector-strong -fcf-protection
      $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
  endif()
endfunction()
