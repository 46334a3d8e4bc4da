# Windows x86-64 with mingw-w64 (posix threads) from Debian; programs run under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_SYSTEM_VERSION 10.0)
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# The compiler's own target folder is the root of everything to find, so that nothing of the Linux system slips in.
execute_process(COMMAND ${CMAKE_C_COMPILER} -print-file-name=libz.a
  OUTPUT_VARIABLE _libz OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(_root "${_libz}/../.." ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# libgcc, libstdc++ and winpthread go inside every binary: nothing of the compiler has to be shipped.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)

get_filename_component(_repo "${CMAKE_CURRENT_LIST_DIR}/../.." ABSOLUTE)
set(CMAKE_CROSSCOMPILING_EMULATOR ${_repo}/scripts/wine-run)
