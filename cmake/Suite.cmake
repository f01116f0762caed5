# The seam to the suite: `platform_api` puts the declarations on the include path, `suite` is what the shared library links behind them.

add_library(platform_api INTERFACE)

if(TAV3D_SUITE STREQUAL "open")
  target_include_directories(platform_api INTERFACE ${PROJECT_SOURCE_DIR}/platform)
elseif(TAV3D_SUITE STREQUAL "closed")
  if(NOT IS_DIRECTORY "${TAV3D_SUITE_DIR}/include" OR NOT IS_DIRECTORY "${TAV3D_SUITE_DIR}/lib")
    message(FATAL_ERROR "TAV3D_SUITE=closed needs -DTAV3D_SUITE_DIR=<folder with include/ and lib/>; '${TAV3D_SUITE_DIR}' has not both.")
  endif()
  target_include_directories(platform_api INTERFACE ${TAV3D_SUITE_DIR}/include)
  add_library(suite INTERFACE)
  foreach(library KRNIO TAV3DResultEngine TAV3DCoolTools TAVOptKer KRNXT TAVFindMeshBlockInterface TAVMeshFormatTransfer TAVFEM_ElemLib
          TAV3DWarpCoordTransformation)
    find_library(TAV3D_SUITE_${library} NAMES ${library} PATHS ${TAV3D_SUITE_DIR}/lib NO_DEFAULT_PATH REQUIRED)
    target_link_libraries(suite INTERFACE ${TAV3D_SUITE_${library}})
  endforeach()
else()
  message(FATAL_ERROR "TAV3D_SUITE is '${TAV3D_SUITE}'; it must be open or closed.")
endif()
