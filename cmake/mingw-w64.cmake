# Cross-compiling for 64-bit Windows with Debian's MinGW-w64 compilers, POSIX
# thread model (std::thread and std::mutex come from winpthread).
#   cmake -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake -DCMAKE_PREFIX_PATH=<prefix> ...
# Each prefix of CMAKE_PREFIX_PATH (the dependencies built for the target by
# scripts/windows_deps.sh, an unpacked api_cpp package) is a root of the
# target; the host's libraries and headers are never used.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(ZQ_MINGW_TRIPLE x86_64-w64-mingw32)

set(CMAKE_C_COMPILER ${ZQ_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZQ_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${ZQ_MINGW_TRIPLE}-windres)
set(CMAKE_AR ${ZQ_MINGW_TRIPLE}-gcc-ar-posix CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB ${ZQ_MINGW_TRIPLE}-gcc-ranlib-posix CACHE FILEPATH "Archive indexer")
set(CMAKE_DLLTOOL ${ZQ_MINGW_TRIPLE}-dlltool CACHE FILEPATH "Import library maker")
set(CMAKE_OBJDUMP ${ZQ_MINGW_TRIPLE}-objdump CACHE FILEPATH "Object dumper")
set(CMAKE_NM ${ZQ_MINGW_TRIPLE}-nm CACHE FILEPATH "Symbol lister")

# Programs run on the build machine; libraries, headers and packages come
# only from the target's root (the MinGW sysroot) and CMAKE_PREFIX_PATH.
set(CMAKE_FIND_ROOT_PATH /usr/${ZQ_MINGW_TRIPLE} ${CMAKE_PREFIX_PATH})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Test programs built for the target run under Wine when there is one.
find_program(ZQ_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(ZQ_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${ZQ_WINE})
endif()
