# Included: adds a generated build_info.cpp to ravelin_core. Run as a script (-P): writes that file.
if(CMAKE_SCRIPT_MODE_FILE)
    execute_process(COMMAND git -C ${SOURCE_DIR} rev-parse HEAD
        OUTPUT_VARIABLE commit OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET RESULT_VARIABLE failed)
    if(failed OR NOT commit MATCHES "^[0-9a-f]+$")
        string(REPEAT 0 40 commit)
    endif()
    string(SUBSTRING ${commit} 0 40 commit)
    string(SUBSTRING ${commit} 0 7 commit_short)
    execute_process(COMMAND id -un OUTPUT_VARIABLE builder OUTPUT_STRIP_TRAILING_WHITESPACE)
    # Rewritten only for another commit or builder: the stamp of an unchanged build stays, and nothing is relinked.
    if(EXISTS ${OUTPUT})
        file(READ ${OUTPUT} former)
        if(former MATCHES "\"${commit}\"" AND former MATCHES "\"${builder}\"")
            return()
        endif()
    endif()
    string(TIMESTAMP stamp "%Y%m%d%H%M") # honours SOURCE_DATE_EPOCH
    file(WRITE ${OUTPUT} "#include \"build_info.h\"

const char kBuildCommit[41] = \"${commit}\";
const char kBuildCommitShort[8] = \"${commit_short}\";
const char kBuilder[] = \"${builder}\";
const char kBuildStamp[13] = \"${stamp}\";
")
    return()
endif()

set(BUILD_INFO_SOURCE ${CMAKE_BINARY_DIR}/build_info.cpp)
add_custom_target(build_info
    COMMAND ${CMAKE_COMMAND} -DSOURCE_DIR=${CMAKE_SOURCE_DIR} -DOUTPUT=${BUILD_INFO_SOURCE}
            -P ${CMAKE_SOURCE_DIR}/cmake/build_info.cmake
    BYPRODUCTS ${BUILD_INFO_SOURCE}
    COMMENT "Build information")
target_sources(ravelin_core PRIVATE ${BUILD_INFO_SOURCE})
add_dependencies(ravelin_core build_info)
