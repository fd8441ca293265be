# What makes the library a well-behaved DLL.
configure_file(server/version.rc.in "${CMAKE_CURRENT_BINARY_DIR}/version.rc" @ONLY)
# A PDB contains the linker's command line. Relative paths keep it free of the build directory.
configure_file("${exports_file}" "${PROJECT_BINARY_DIR}/KelvaroShellExt.def" COPYONLY)
set(platform "${PROJECT_SOURCE_DIR}/platform")
target_sources(
  KelvaroShellExt
  PRIVATE "${CMAKE_CURRENT_BINARY_DIR}/version.rc" "${platform}/windows/entry_point.cpp"
          "${platform}/windows/exceptions.cpp" "${platform}/windows/random_device.cpp"
          "${platform}/windows/terminate_handler.cpp")
target_include_directories(kelvaro_core PUBLIC "${platform}")
target_link_libraries(kelvaro_core PUBLIC ole32 shell32 shlwapi uuid)

# The flag is not for the linker, which would add the compiler's library for it.
target_sources(kelvaro_core PRIVATE "${platform}/windows/stack_protector.cpp")
target_compile_options(kelvaro_core PRIVATE $<$<COMPILE_LANGUAGE:CXX>:-fstack-protector-strong>)

# The entry point is in platform/windows/, and so is the wrapper of __cxa_end_catch (exceptions.cpp). No
# separate run-time library of the compiler; a base address from the whole 64-bit range; a hash in place of
# a time stamp (/Brepro), so that two builds of the same sources are identical.
target_link_options(
  KelvaroShellExt
  PRIVATE
  KelvaroShellExt.def
  -nostartfiles
  LINKER:--disable-runtime-pseudo-reloc
  LINKER:--wrap=__cxa_end_catch
  -static
  LINKER:--dynamicbase,--nxcompat,--high-entropy-va
  LINKER:--gc-sections
  LINKER:--Map=KelvaroShellExt.map)
set_target_properties(KelvaroShellExt PROPERTIES LINK_DEPENDS "${PROJECT_BINARY_DIR}/KelvaroShellExt.def")

# The symbols go into a PDB, which Windows' debuggers find by the file name and the GUID in the DLL.
# /pdbsourcepath replaces the build directory in the PDB.
target_link_options(
  KelvaroShellExt
  PRIVATE
  LINKER:--pdb=KelvaroShellExt.pdb
  LINKER:-Xlink=/Brepro
  LINKER:-Xlink=/pdbaltpath:%_PDB%
  LINKER:-Xlink=/pdbsourcepath:C:\\KelvaroShellExt)
# clang passes the directories of this variable to the linker.
set_target_properties(KelvaroShellExt PROPERTIES RULE_LAUNCH_LINK
                                                 "${CMAKE_COMMAND} -E env --unset=LIBRARY_PATH")
# The runtime libraries bring DWARF sections with them.
add_custom_command(
  TARGET KelvaroShellExt
  POST_BUILD
  COMMAND ${CMAKE_OBJCOPY} --strip-debug KelvaroShellExt.dll
  WORKING_DIRECTORY $<TARGET_FILE_DIR:KelvaroShellExt>
  BYPRODUCTS "${PROJECT_BINARY_DIR}/KelvaroShellExt.pdb"
  VERBATIM)
