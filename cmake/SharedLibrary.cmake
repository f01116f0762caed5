# The shared library that hosts load, and its installation.

add_library(Tav3DInterpolation SHARED)
add_library(Tav3DInterpolation::Tav3DInterpolation ALIAS Tav3DInterpolation)
target_link_libraries(Tav3DInterpolation PRIVATE core suite)
target_include_directories(Tav3DInterpolation INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_compile_features(Tav3DInterpolation INTERFACE cxx_std_11)
set_target_properties(Tav3DInterpolation PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
if(WIN32)
  set_target_properties(Tav3DInterpolation PROPERTIES PREFIX "") # the DLL has one name, whichever compiler made it
endif()

# Templates of the standard library are visible by default; the list keeps them out of the symbol table.
if(CMAKE_SYSTEM_NAME STREQUAL "Linux")
  set(exports ${PROJECT_SOURCE_DIR}/cmake/exports.map)
  target_link_options(Tav3DInterpolation PRIVATE LINKER:--version-script=${exports})
  set_property(TARGET Tav3DInterpolation APPEND PROPERTY LINK_DEPENDS ${exports})
  if(NOT TAV3D_SANITIZE AND TAV3D_SUITE STREQUAL "open")
    target_link_options(Tav3DInterpolation PRIVATE LINKER:--no-undefined)
  endif()
endif()

include(CMakePackageConfigHelpers)
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tav3DInterpolation)
configure_package_config_file(cmake/Tav3DInterpolationConfig.cmake.in Tav3DInterpolationConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(Tav3DInterpolationConfigVersion.cmake COMPATIBILITY SameMajorVersion)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" OUTPUT_VARIABLE prefix_from_pc)
configure_file(cmake/Tav3DInterpolation.pc.in Tav3DInterpolation.pc @ONLY)

install(TARGETS Tav3DInterpolation EXPORT Tav3DInterpolationTargets)
install(EXPORT Tav3DInterpolationTargets NAMESPACE Tav3DInterpolation:: DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/Tav3DInterpolationConfig.cmake ${PROJECT_BINARY_DIR}/Tav3DInterpolationConfigVersion.cmake DESTINATION ${package_dir})
install(FILES ${PROJECT_BINARY_DIR}/Tav3DInterpolation.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
