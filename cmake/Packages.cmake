# What `cpack` makes in the build folder: a ZIP for Windows, a DEB elsewhere. Both hold all that is installed: library, headers, CMake package, program,
# documents and examples.

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})
if(WIN32 AND EXISTS ${PROJECT_SOURCE_DIR}/build/hdf5-windows/share/COPYING)
  install(FILES build/hdf5-windows/share/COPYING DESTINATION ${CMAKE_INSTALL_DOCDIR} RENAME HDF5-COPYING.txt) # it is inside the DLL
endif()

set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_CONTACT "The Tav3DInterpolation developers")
set(CPACK_STRIP_FILES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-win64)
else()
  set(CPACK_GENERATOR DEB)
  set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
  set(CPACK_DEBIAN_PACKAGE_SECTION science)
  set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
endif()
include(CPack)
