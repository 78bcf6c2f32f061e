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

# What compiler, processor and linker check for next to nothing. And what is built twice, in whatever folders, is the same
# byte for byte.
function(vellox_set_hardening target)
  if(VELLOX_SANITIZE)
    return()
  endif()
  target_compile_options(${target} PRIVATE -fstack-protector-strong
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=2>)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86|AMD64|i.86")
    target_compile_options(${target} PRIVATE -fcf-protection)
  endif()
  if(Vellox_IS_TOP_LEVEL)
    target_compile_options(${target} PRIVATE $<$<NOT:$<CONFIG:Debug>>:-ffile-prefix-map=${Vellox_SOURCE_DIR}=.>)
  endif()
  if(WIN32)
    target_link_options(${target} PRIVATE
      -static -fstack-protector-strong -Wl,--high-entropy-va,--dynamicbase,--nxcompat,--no-insert-timestamp)
  else()
    target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now)
  endif()
endfunction()
