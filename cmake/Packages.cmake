# What `cpack` makes in the build folder: a ZIP for Windows, a DEB elsewhere. Both hold all that is installed: library, headers, CMake package, program,
# documents, examples, and the licences of what is inside the binaries.

install(FILES README.md CHANGELOG.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs examples DESTINATION ${CMAKE_INSTALL_DOCDIR})

# tav3d_install_notice(<name> <file>): the licence of a library whose code is inside a binary. Packages come from Debian, which has each of these files;
# elsewhere, what is not there is not installed.
set(notices "")
function(tav3d_install_notice name file)
  if(MINGW OR EXISTS ${file})
    install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DOCDIR}/licenses RENAME ${name}.txt)
  endif()
  if(EXISTS ${file})
    file(READ ${file} text)
    set(notices "${notices}\n---- ${name} ----\n\n${text}" PARENT_SCOPE)
  endif()
endfunction()
tav3d_install_notice(CLI11 /usr/share/doc/libcli11-dev/copyright)
tav3d_install_notice(nlohmann-json /usr/share/doc/nlohmann-json3-dev/copyright)
if(MINGW)
  tav3d_install_notice(HDF5 ${PROJECT_SOURCE_DIR}/build/hdf5-windows/share/COPYING)
  tav3d_install_notice(mingw-w64-winpthreads /usr/share/doc/mingw-w64-x86-64-dev/copyright)
  tav3d_install_notice(libstdc++-libgcc /usr/share/doc/g++-mingw-w64-x86-64-posix/copyright) # with the runtime library exception
elseif(UNIX)
  string(TOLOWER ${PROJECT_NAME} package) # Debian looks for the file here
  file(WRITE ${PROJECT_BINARY_DIR}/copyright
    "${PROJECT_NAME} ${PROJECT_VERSION}\nCopyright: the ${PROJECT_NAME} developers\n\nThe program tav3d has code of these libraries inside.\n${notices}")
  install(FILES ${PROJECT_BINARY_DIR}/copyright DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${package})
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
