# Four archives: the extension, its debug symbols, the tools and the tests. tests/CMakeLists.txt adds the
# test programs to the last one. installer.cmake makes the Windows Installer package of the first.
install(TARGETS KelvaroShellExt RUNTIME DESTINATION . COMPONENT extension)
install(
  DIRECTORY lang/
  DESTINATION Lang
  COMPONENT extension
  FILES_MATCHING
  PATTERN "*.ini")

# Debuggers need the DLL too: a small dump contains neither its code nor its unwind tables.
install(
  FILES "$<TARGET_FILE:KelvaroShellExt>" "${PROJECT_BINARY_DIR}/KelvaroShellExt.pdb"
  DESTINATION .
  COMPONENT symbols)

install(TARGETS KelvaroShellExt RUNTIME DESTINATION . COMPONENT tests)
install(TARGETS auth_prompt RUNTIME DESTINATION data COMPONENT tests)
install(DIRECTORY tests/data/shortcuts DESTINATION data COMPONENT tests)
install(DIRECTORY lang/ DESTINATION data/Lang COMPONENT tests)
install(FILES packaging/run-tests.cmd DESTINATION . COMPONENT tests)
install(
  FILES packaging/tests-readme.txt
  DESTINATION .
  RENAME README.txt
  COMPONENT tests)
target_link_options(auth_prompt PRIVATE LINKER:--strip-all,--no-insert-timestamp)

install(TARGETS rightclick RUNTIME DESTINATION . COMPONENT tools)
install(
  FILES docs/rightclick.1.md
  DESTINATION .
  RENAME rightclick.txt
  COMPONENT tools)
target_link_options(rightclick PRIVATE LINKER:--strip-all,--no-insert-timestamp)

# Licences of the code in the binaries: the compiler's runtime library, MinGW-w64's runtime library and the
# libraries of the tools and the tests.
set(extension_licences gcc-mingw-w64-base mingw-w64-common)
set(symbols_licences ${extension_licences})
set(tools_licences ${extension_licences} libcli11-dev nlohmann-json3-dev)
set(tests_licences ${tools_licences} googletest)
foreach(component IN ITEMS extension symbols tools tests)
  foreach(package IN LISTS ${component}_licences)
    install(
      FILES "/usr/share/doc/${package}/copyright"
      DESTINATION licences
      RENAME "${package}.txt"
      COMPONENT ${component})
  endforeach()
endforeach()

set(KELVARO_SIGN_COMMAND "" CACHE STRING
  "Command that signs what is in the packages, in place; the file name is appended")
set(CPACK_KELVARO_SIGN_COMMAND "${KELVARO_SIGN_COMMAND}")
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/sign.cmake"
                            "${PROJECT_SOURCE_DIR}/packaging/installer.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/reproducible.cmake")

set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME KelvaroShellExt)
set(CPACK_PACKAGE_VENDOR Vorandel)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL extension symbols tools tests)
set(archive "KelvaroShellExt-${PROJECT_VERSION}-win64")
set(CPACK_ARCHIVE_EXTENSION_FILE_NAME "${archive}")
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME "${archive}-symbols")
set(CPACK_ARCHIVE_TOOLS_FILE_NAME "${archive}-tools")
set(CPACK_ARCHIVE_TESTS_FILE_NAME "${archive}-tests")
include(CPack)
