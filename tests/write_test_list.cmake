# Asks PROGRAM, a GoogleTest program, for its tests, by way of EMULATOR if there is one, and writes LIST, which ctest reads. The
# tests run in FOLDER and have PROPERTIES.
execute_process(COMMAND ${EMULATOR} ${PROGRAM} --gtest_list_tests --gtest_output=json:${LIST}.json
    RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} doesn't tell its tests (${result}): ${output}")
endif()

# A suite's line is indented by 6, a test's by 10; its file follows.
file(STRINGS ${LIST}.json lines REGEX "^(      |          )\"(name|file)\": ")
set(script "")
foreach(line ${lines})
    string(REPLACE "\\/" "/" line "${line}")
    if(line MATCHES "^      \"name\": \"(.*)\"")
        set(suite "${CMAKE_MATCH_1}")
    elseif(line MATCHES "^          \"name\": \"(.*)\"")
        set(test "${CMAKE_MATCH_1}")
    elseif(line MATCHES "^          \"file\": \"(.*)\"")
        get_filename_component(file "${CMAKE_MATCH_1}" NAME_WE)
        set(name "[==[${file}.${suite}.${test}]==]")
        string(APPEND script "add_test(${name} ${EMULATOR} [==[${PROGRAM}]==] [==[--gtest_filter=${suite}.${test}]==])\n"
            "set_tests_properties(${name} PROPERTIES WORKING_DIRECTORY [==[${FOLDER}]==]"
            " SKIP_REGULAR_EXPRESSION [==[\\[  SKIPPED \\]]==]")
        foreach(property ${PROPERTIES})
            string(APPEND script " [==[${property}]==]")
        endforeach()
        if("${suite}.${test}" MATCHES "(^|[./])DISABLED_")
            string(APPEND script " DISABLED TRUE")
        endif()
        string(APPEND script ")\n")
    endif()
endforeach()
if(script STREQUAL "")
    message(FATAL_ERROR "${PROGRAM} has no tests")
endif()
file(WRITE ${LIST} "${script}")
