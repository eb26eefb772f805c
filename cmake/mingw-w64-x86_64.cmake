# Cross build for 64-bit Windows with MinGW-w64 (Debian's g++-mingw-w64-x86-64-posix).
#
# The posix thread model is the one whose C++ runtime has std::thread, std::mutex and
# std::condition_variable. The C and C++ runtimes are linked statically into every executable and
# into the module library, so that each stands alone next to the system DLLs. Test executables run
# under Wine: CTest prefixes them with the emulator below.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(HALCYRA_MINGW_TRIPLE x86_64-w64-mingw32)

find_program(CMAKE_C_COMPILER NAMES ${HALCYRA_MINGW_TRIPLE}-gcc-posix REQUIRED)
find_program(CMAKE_CXX_COMPILER NAMES ${HALCYRA_MINGW_TRIPLE}-g++-posix REQUIRED)
find_program(CMAKE_RC_COMPILER NAMES ${HALCYRA_MINGW_TRIPLE}-windres)
find_program(CMAKE_AR NAMES ${HALCYRA_MINGW_TRIPLE}-gcc-ar-posix ${HALCYRA_MINGW_TRIPLE}-ar REQUIRED)
find_program(CMAKE_RANLIB NAMES ${HALCYRA_MINGW_TRIPLE}-gcc-ranlib-posix ${HALCYRA_MINGW_TRIPLE}-ranlib REQUIRED)

set(CMAKE_FIND_ROOT_PATH /usr/${HALCYRA_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Debian installs the 64-bit loader outside PATH; /usr/bin/wine prefers a 32-bit one and nags.
find_program(HALCYRA_WINE64 NAMES wine64 PATHS /usr/lib/wine NO_DEFAULT_PATH)
if(NOT HALCYRA_WINE64)
  find_program(HALCYRA_WINE64 NAMES wine64 wine)
endif()
if(HALCYRA_WINE64)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${HALCYRA_WINE64})
endif()

# No runtime DLLs beside the binaries: libgcc, libstdc++ and winpthreads are linked in.
set(HALCYRA_MINGW_STATIC_RUNTIME "-static -static-libgcc -static-libstdc++")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${HALCYRA_MINGW_STATIC_RUNTIME}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${HALCYRA_MINGW_STATIC_RUNTIME}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${HALCYRA_MINGW_STATIC_RUNTIME}")
