# Makes the Windows Installer package of the staged files and signs it. sign.cmake has signed the DLL in it.
cmake_policy(SET CMP0057 NEW)
if(NOT extension IN_LIST CPACK_COMPONENTS_ALL)
  return()
endif()
set(package "${CPACK_PACKAGE_DIRECTORY}/${CPACK_ARCHIVE_EXTENSION_FILE_NAME}.msi")
file(MAKE_DIRECTORY "${CPACK_PACKAGE_DIRECTORY}")
execute_process(
  COMMAND python3 "${CMAKE_CURRENT_LIST_DIR}/make_installer.py" "${CPACK_TEMPORARY_DIRECTORY}/extension"
          "${CPACK_PACKAGE_VERSION}" "${package}"
  COMMAND_ERROR_IS_FATAL ANY)
if(CPACK_KELVARO_SIGN_COMMAND)
  separate_arguments(sign NATIVE_COMMAND "${CPACK_KELVARO_SIGN_COMMAND}")
  execute_process(COMMAND ${sign} "${package}" COMMAND_ERROR_IS_FATAL ANY)
endif()
