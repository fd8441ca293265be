# What makes the library a well-behaved DLL.
configure_file(server/version.rc.in "${CMAKE_CURRENT_BINARY_DIR}/version.rc" @ONLY)
target_sources(
  KelvaroShellExt
  PRIVATE "${exports_file}" "${CMAKE_CURRENT_BINARY_DIR}/version.rc"
          "${PROJECT_SOURCE_DIR}/platform/windows/terminate_handler.cpp")
target_link_libraries(kelvaro_core PUBLIC ole32 shell32 shlwapi uuid)

# No run-time library of the compiler beside it; load addresses drawn from the whole 64-bit range;
# no time stamp, so that two builds of one source are the same bytes.
target_link_options(
  KelvaroShellExt
  PRIVATE
  -static
  LINKER:--dynamicbase,--nxcompat,--high-entropy-va
  LINKER:--no-insert-timestamp
  LINKER:--gc-sections)
set_target_properties(KelvaroShellExt PROPERTIES LINK_DEPENDS "${exports_file}")

# The symbols go into a file of their own, which debuggers find by its name.
# Without an epoch the copies would hold the time of the day.
set(copy ${CMAKE_COMMAND} -E env SOURCE_DATE_EPOCH=0 ${CMAKE_OBJCOPY})
add_custom_command(
  TARGET KelvaroShellExt
  POST_BUILD
  COMMAND ${copy} --only-keep-debug KelvaroShellExt.dll KelvaroShellExt.dll.debug
  COMMAND ${copy} --strip-all --add-gnu-debuglink=KelvaroShellExt.dll.debug KelvaroShellExt.dll
  WORKING_DIRECTORY $<TARGET_FILE_DIR:KelvaroShellExt>
  VERBATIM)
