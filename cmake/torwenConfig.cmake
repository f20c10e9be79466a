# find_package(torwen CONFIG) gives:
#   torwen::torwen            torwen.dll with its import library and torwen.h;
#   torwen::imports           the import checker, torwen-imports.exe;
#   torwen_check_imports(tgt) an opt-in check after each link of tgt: the build
#                             fails when tgt imports a wide function from a system
#                             DLL instead of from torwen.dll.
#
# A wide function binds to the first library on the link line that offers it. The
# toolchain's system libraries (kernel32, user32, ...) come after a target's own
# libraries, so linking torwen::torwen is enough; a system library you name
# yourself goes after it:
#   target_link_libraries(app PRIVATE torwen::torwen comctl32)
if(CMAKE_VERSION VERSION_LESS 3.15)
  message(FATAL_ERROR "torwen's CMake package needs CMake 3.15 or later")
endif()

get_filename_component(_torwen_prefix "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)

if(NOT TARGET torwen::torwen)
  # Microsoft's linker and lld-link read torwen.lib; GNU ld reads libtorwen.a.
  if(MSVC OR CMAKE_C_SIMULATE_ID STREQUAL "MSVC" OR CMAKE_CXX_SIMULATE_ID STREQUAL "MSVC")
    set(_torwen_implib "${_torwen_prefix}/lib/torwen.lib")
  else()
    set(_torwen_implib "${_torwen_prefix}/lib/libtorwen.a")
  endif()
  add_library(torwen::torwen SHARED IMPORTED)
  set_target_properties(torwen::torwen PROPERTIES
    IMPORTED_LOCATION "${_torwen_prefix}/bin/torwen.dll"
    IMPORTED_IMPLIB "${_torwen_implib}"
    INTERFACE_INCLUDE_DIRECTORIES "${_torwen_prefix}/include")
  unset(_torwen_implib)
endif()

if(NOT TARGET torwen::imports)
  add_executable(torwen::imports IMPORTED)
  set_target_properties(torwen::imports PROPERTIES
    IMPORTED_LOCATION "${_torwen_prefix}/bin/torwen-imports.exe")
endif()

# The checker is a Windows program: on another host it runs through the
# cross-compiling emulator, or Wine when none is set.
function(torwen_check_imports target)
  get_target_property(checker torwen::imports IMPORTED_LOCATION)
  set(command "${checker}")
  if(NOT CMAKE_HOST_WIN32)
    if(CMAKE_CROSSCOMPILING_EMULATOR)
      set(command ${CMAKE_CROSSCOMPILING_EMULATOR} "${checker}")
    else()
      find_program(TORWEN_WINE wine)
      if(NOT TORWEN_WINE)
        message(WARNING "torwen_check_imports(${target}): no Windows host, emulator or Wine to run ${checker}")
        return()
      endif()
      set(command "${TORWEN_WINE}" "${checker}")
    endif()
  endif()
  add_custom_command(TARGET ${target} POST_BUILD
    COMMAND ${command} "$<TARGET_FILE:${target}>"
    COMMENT "Checking that ${target} takes its wide functions from torwen.dll"
    VERBATIM)
endfunction()
