# The header-only libraries of the tools and the compatibility layer: CLI11 and nlohmann's JSON. The target
# third_party makes only their two folders visible, because the cross compilers must not see the
# other headers of Linux.
set(third_party_includes "${PROJECT_BINARY_DIR}/third_party")
add_library(third_party INTERFACE)
target_include_directories(third_party SYSTEM INTERFACE "${third_party_includes}")
# CLI11 needs it only for checks that the tools do not use.
target_compile_definitions(third_party INTERFACE CLI11_HAS_FILESYSTEM=0)

file(MAKE_DIRECTORY "${third_party_includes}")
foreach(header IN ITEMS CLI/CLI.hpp nlohmann/json.hpp)
  cmake_path(GET header PARENT_PATH folder)
  find_path(${folder}_headers "${header}" PATHS /usr/include NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT ${folder}_headers)
    message(FATAL_ERROR "<${header}> is missing. \"scripts/install-tools host\" installs it; for another "
                        "location set ${folder}_headers.")
  endif()
  file(CREATE_LINK "${${folder}_headers}/${folder}" "${third_party_includes}/${folder}" SYMBOLIC
       COPY_ON_ERROR)
endforeach()
