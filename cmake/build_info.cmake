# Included: adds a generated build_info.cpp to ravelin_core. Run as a script (-P): writes that file.
#
# RAVELIN_COMMIT and RAVELIN_BUILDER name commit and builder where git and the user's name don't: in a tarball, in a source
# package, for a build that others repeat. SOURCE_DATE_EPOCH in the environment gives the time, in UTC.
if(CMAKE_SCRIPT_MODE_FILE)
    include(${CMAKE_CURRENT_LIST_DIR}/find_commit.cmake)
    find_commit(commit ${SOURCE_DIR} "${COMMIT}")
    string(SUBSTRING ${commit} 0 7 commit_short)
    set(builder "${BUILDER}")
    if(builder STREQUAL "")
        execute_process(COMMAND id -un OUTPUT_VARIABLE builder OUTPUT_STRIP_TRAILING_WHITESPACE)
    endif()
    set(former "")
    if(EXISTS ${OUTPUT})
        file(READ ${OUTPUT} former)
    endif()
    if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
        # Rewritten only for another commit or builder: the stamp of an unchanged build stays, and nothing is relinked.
        if(former MATCHES "\"${commit}\"" AND former MATCHES "\"${builder}\"")
            return()
        endif()
        string(TIMESTAMP stamp "%Y%m%d%H%M")
    else()
        string(TIMESTAMP stamp "%Y%m%d%H%M" UTC) # honours SOURCE_DATE_EPOCH
    endif()
    set(source "#include \"support/build_info.h\"

const char kBuildCommit[41] = \"${commit}\";
const char kBuildCommitShort[8] = \"${commit_short}\";
const char kBuilder[] = \"${builder}\";
const char kBuildStamp[13] = \"${stamp}\";
")
    if(NOT source STREQUAL former)
        file(WRITE ${OUTPUT} "${source}")
    endif()
    return()
endif()

set(RAVELIN_COMMIT "" CACHE STRING "Commit that the build names, 40 digits; without it the one that git names")
set(RAVELIN_BUILDER "" CACHE STRING "Builder that the build names; without it the user's name")
if(NOT RAVELIN_BUILDER MATCHES "^[A-Za-z0-9@._+ -]*$")
    message(FATAL_ERROR "RAVELIN_BUILDER is one word for a line of the log, such as a user's name: ${RAVELIN_BUILDER}")
endif()
# What is wrong is said now and not only in the middle of the build.
include(cmake/find_commit.cmake)
find_commit(commit ${CMAKE_SOURCE_DIR} "${RAVELIN_COMMIT}")

set(BUILD_INFO_SOURCE ${CMAKE_BINARY_DIR}/build_info.cpp)
add_custom_target(build_info
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DOUTPUT=${BUILD_INFO_SOURCE}
            -DCOMMIT=${RAVELIN_COMMIT} -DBUILDER=${RAVELIN_BUILDER}
            -P ${CMAKE_SOURCE_DIR}/cmake/build_info.cmake
    BYPRODUCTS ${BUILD_INFO_SOURCE}
    COMMENT "Build information"
    VERBATIM)
target_sources(ravelin_core PRIVATE ${BUILD_INFO_SOURCE})
add_dependencies(ravelin_core build_info)
