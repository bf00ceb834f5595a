# Toolchain: 32-bit Windows, from Linux, by mingw-w64 (Debian's g++-mingw-w64-i686-win32 and mingw-w64-tools).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)

set(triple i686-w64-mingw32)
set(CMAKE_CXX_COMPILER ${triple}-g++-win32)
set(CMAKE_RC_COMPILER ${triple}-windres)
set(CMAKE_OBJDUMP ${triple}-objdump)
set(CMAKE_DLLTOOL ${triple}-dlltool)
set(PARVEL_WIDL ${triple}-widl)

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# Headers alone serve any system: CLI11 and GoogleTest's sources come from the build machine.
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE BOTH)
