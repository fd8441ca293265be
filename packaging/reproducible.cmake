# Makes the archives reproducible: CPack stores file times, which differ in every build.
foreach(archive IN LISTS CPACK_PACKAGE_FILES)
  execute_process(COMMAND python3 "${CMAKE_CURRENT_LIST_DIR}/remove_times.py" "${archive}"
                          COMMAND_ERROR_IS_FATAL ANY)
endforeach()
