# Tests of a cross-build: the programs run through CMAKE_CROSSCOMPILING_EMULATOR.

# tav3d_left_out(<reason> <test>...): tests that a native build has and this one has not. count_reports.py names them, and misses any others.
file(WRITE ${PROJECT_BINARY_DIR}/left-out-tests.txt "")
function(tav3d_left_out reason)
  foreach(name IN LISTS ARGN)
    file(APPEND ${PROJECT_BINARY_DIR}/left-out-tests.txt "${name}\t${reason}\n")
  endforeach()
endfunction()

# What scripts start in place of the programs of targets: in the list of that name, each $<TARGET_FILE:program> becomes a small script that runs that program.
function(tav3d_use_program_starters list_name)
  set(result "")
  foreach(argument IN LISTS ${list_name})
    if(argument MATCHES "^\\$<TARGET_FILE:(.+)>$" AND NOT CMAKE_MATCH_1 STREQUAL "Tav3DInterpolation")
      set(starter ${PROJECT_BINARY_DIR}/starters/${CMAKE_MATCH_1})
      get_property(starters GLOBAL PROPERTY tav3d_starters)
      if(NOT starter IN_LIST starters)
        set_property(GLOBAL APPEND PROPERTY tav3d_starters ${starter})
        file(GENERATE OUTPUT ${starter} CONTENT "#!/bin/sh\nexec '${CMAKE_CROSSCOMPILING_EMULATOR}' '${argument}' \"$@\"\n" FILE_PERMISSIONS
             OWNER_READ OWNER_WRITE OWNER_EXECUTE)
      endif()
      set(argument ${starter})
    endif()
    list(APPEND result "${argument}")
  endforeach()
  set(${list_name} "${result}" PARENT_SCOPE)
endfunction()
