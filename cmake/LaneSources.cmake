# tav3d_add_lane_sources(<target> <name>): code that is compiled once for each instruction set, <name>_plain_lanes.cpp for every processor,
# <name>_sse2.cpp and <name>_avx2.cpp where the processor can be an x86-64 one. Which of them runs is chosen at run time.
function(tav3d_add_lane_sources target name)
  set(sources ${name}_plain_lanes.cpp)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
    list(APPEND sources ${name}_sse2.cpp ${name}_avx2.cpp)
    set(options $<IF:$<CXX_COMPILER_ID:MSVC>,/arch:AVX2,-mavx2>)
    if(MINGW)
      # Windows keeps the stack aligned to 16 bytes only, and the compiler cannot align it for moves of 32 bytes.
      list(APPEND options -Wa,-muse-unaligned-vector-move)
    endif()
    set_source_files_properties(${name}_avx2.cpp TARGET_DIRECTORY ${target} PROPERTIES COMPILE_OPTIONS "${options}")
  endif()
  target_sources(${target} PRIVATE ${sources})
  set_source_files_properties(${sources} TARGET_DIRECTORY ${target} PROPERTIES SKIP_UNITY_BUILD_INCLUSION ON) # each reads the same headers anew
endfunction()
