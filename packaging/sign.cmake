# Signs the staged binaries with KELVARO_SIGN_COMMAND, except for the archive of the tests, which has a DLL
# and a setup program that are faulty on purpose. A file that is in two archives is signed once, so that both
# have the same bytes.
if(NOT CPACK_KELVARO_SIGN_COMMAND)
  return()
endif()
separate_arguments(sign NATIVE_COMMAND "${CPACK_KELVARO_SIGN_COMMAND}")
file(GLOB_RECURSE binaries "${CPACK_TEMPORARY_DIRECTORY}/*.dll" "${CPACK_TEMPORARY_DIRECTORY}/*.exe")
list(FILTER binaries EXCLUDE REGEX "/tests/[^/]+$")
foreach(binary IN LISTS binaries)
  file(SHA256 "${binary}" unsigned)
  if(DEFINED signed_${unsigned})
    file(COPY_FILE "${signed_${unsigned}}" "${binary}")
  else()
    execute_process(COMMAND ${sign} "${binary}" COMMAND_ERROR_IS_FATAL ANY)
    set(signed_${unsigned} "${binary}")
  endif()
endforeach()
