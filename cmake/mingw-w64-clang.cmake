# Cross-compiles for 64-bit Windows with clang and lld on the MinGW-w64 runtime. clang finds the headers
# and libraries of g++-mingw-w64-x86-64-win32 by itself.
set(CMAKE_C_COMPILER clang-19)
set(CMAKE_CXX_COMPILER clang++-19)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_EXE_LINKER_FLAGS_INIT -fuse-ld=lld)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -fuse-ld=lld)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
