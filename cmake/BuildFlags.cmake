# The one target that carries language level, floating-point rules, warnings and sanitizers. Every target links it.

add_library(build_flags INTERFACE)
target_compile_features(build_flags INTERFACE cxx_std_20)

# Results are promised bit for bit, so no multiply and add may be fused and no rule of IEEE arithmetic bent.
if(MSVC)
  target_compile_options(build_flags INTERFACE /fp:precise /W4 /utf-8)
  target_compile_definitions(build_flags INTERFACE NOMINMAX _CRT_SECURE_NO_WARNINGS)
else()
  target_compile_options(build_flags INTERFACE -ffp-contract=off -Wall -Wextra -Wnon-virtual-dtor)
  if(NOT (TAV3D_UNITY AND CMAKE_CXX_COMPILER_ID MATCHES "Clang")) # which would compare the names of sources that are only compiled together
    target_compile_options(build_flags INTERFACE -Wshadow)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    target_compile_options(build_flags INTERFACE -Wno-restrict) # finds an overlap in "text" + std::string that is not there
  endif()
endif()

if(TAV3D_WERROR)
  target_compile_options(build_flags INTERFACE $<IF:$<CXX_COMPILER_ID:MSVC>,/WX,-Werror>)
endif()

if(TAV3D_SANITIZE)
  target_compile_options(build_flags INTERFACE -fsanitize=${TAV3D_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(build_flags INTERFACE -fsanitize=${TAV3D_SANITIZE})
endif()
