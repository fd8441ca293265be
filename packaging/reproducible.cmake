# The archives hold when their files were made, read and changed, which differs each time. They are
# written once more without.
foreach(archive IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND python3 "${CMAKE_CURRENT_LIST_DIR}/without_times.py" "${archive}"
                          COMMAND_ERROR_IS_FATAL ANY)
endforeach()
