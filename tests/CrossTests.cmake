# Tests of a cross-build: the programs run through CMAKE_CROSSCOMPILING_EMULATOR.

# Starting a process is dear there, so a GoogleTest program is one ctest.
function(tav3d_add_cross_test name)
  add_test(NAME ${name} COMMAND ${name} --gtest_brief=1 --gtest_output=xml:test-reports/${name}.xml WORKING_DIRECTORY ${PROJECT_BINARY_DIR})
  set_tests_properties(${name} PROPERTIES TIMEOUT 600)
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
