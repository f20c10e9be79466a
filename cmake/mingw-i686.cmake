# Cross-compiles for 32-bit Windows with Debian's mingw-w64 toolchain.
# TORWEN_THREADS picks the compiler's thread model: "win32" for torwen.dll, whose
# static C++ runtime must not pull in a threads DLL; "posix" for the tests, which
# GoogleTest needs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

if(NOT TORWEN_THREADS)
  set(TORWEN_THREADS win32)
endif()
set(TORWEN_THREADS ${TORWEN_THREADS} CACHE STRING "thread model of the mingw-w64 compilers")

set(CMAKE_C_COMPILER i686-w64-mingw32-gcc-${TORWEN_THREADS})
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-${TORWEN_THREADS})
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
set(CMAKE_DLLTOOL i686-w64-mingw32-dlltool)

set(CMAKE_FIND_ROOT_PATH /usr/i686-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
