# Warnings are errors in the project's own builds; a packager can switch that off.
option(VELLOX_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

function(vellox_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
  if(VELLOX_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
