# Installed with the package: for hosts on Windows, where a program starts only with its DLLs beside it.

set(VELLOX_PROGRAM_RESOURCES "${CMAKE_CURRENT_LIST_DIR}/VelloxProgram.rc")

# usage: vellox_prepare_program(PROGRAM [OWN_MANIFEST])
#
# Copies vellox.dll beside the program, links in what would take DLLs of the compiler's, and embeds a manifest that makes
# UTF-8 the narrow text of the process. A program with a manifest of its own says OWN_MANIFEST and puts activeCodePage
# into that one. Elsewhere there is nothing to prepare.
function(vellox_prepare_program program)
  if(NOT WIN32)
    return()
  endif()
  set_property(TARGET ${program} APPEND_STRING PROPERTY LINK_FLAGS " -static")
  if(NOT "OWN_MANIFEST" IN_LIST ARGN)
    set_property(TARGET ${program} APPEND PROPERTY SOURCES "${VELLOX_PROGRAM_RESOURCES}")
  endif()
  add_custom_command(TARGET ${program} POST_BUILD
    COMMAND ${CMAKE_COMMAND} -E copy_if_different $<TARGET_FILE:Vellox::vellox> $<TARGET_FILE_DIR:${program}>)
endfunction()
