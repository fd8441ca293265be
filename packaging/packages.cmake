# Two archives: the extension and its debug symbols.
install(TARGETS KelvaroShellExt RUNTIME DESTINATION . COMPONENT extension)
install(
  FILES packaging/register.cmd packaging/unregister.cmd
  DESTINATION .
  COMPONENT extension)
install(
  DIRECTORY lang/
  DESTINATION Lang
  COMPONENT extension
  FILES_MATCHING
  PATTERN "*.ini")
# Licences of the statically linked code: the compiler's runtime library and MinGW-w64's start-up code.
foreach(linked IN ITEMS gcc-mingw-w64-base mingw-w64-common)
  install(
    FILES "/usr/share/doc/${linked}/copyright"
    DESTINATION licences
    RENAME "${linked}.txt"
    COMPONENT extension)
endforeach()
get_target_property(symbols KelvaroShellExt KELVARO_SYMBOLS)
install(
  FILES "${PROJECT_BINARY_DIR}/${symbols}"
  DESTINATION .
  COMPONENT symbols)

set(CPACK_GENERATOR ZIP)
set(CPACK_PACKAGE_NAME KelvaroShellExt)
set(CPACK_PACKAGE_VENDOR Vorandel)
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL extension symbols)
set(CPACK_ARCHIVE_EXTENSION_FILE_NAME "KelvaroShellExt-${PROJECT_VERSION}-win64")
set(CPACK_ARCHIVE_SYMBOLS_FILE_NAME "KelvaroShellExt-${PROJECT_VERSION}-win64-symbols")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/packaging/reproducible.cmake")
include(CPack)
