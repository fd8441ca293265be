# Cross-compiles for 64-bit Windows with g++. The win32 thread model depends on no additional thread
# library.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-win32)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-win32)
include("${CMAKE_CURRENT_LIST_DIR}/mingw-w64.cmake")
