# find_commit(RESULT SOURCE_DIR GIVEN): the commit that a build names: GIVEN if that isn't empty, else the one that git
# names; zeros, with a warning, if there is none.
function(find_commit result source_dir given)
    if(NOT given STREQUAL "")
        string(LENGTH "${given}" length)
        if(NOT given MATCHES "^[0-9a-f]+$" OR NOT length EQUAL 40)
            message(FATAL_ERROR "RAVELIN_COMMIT isn't the 40 digits of a commit: ${given}")
        endif()
        set(${result} ${given} PARENT_SCOPE)
        return()
    endif()
    # Git distrusts a clone that belongs to somebody else, for what its hooks might do; none runs here. --show-cdup is empty
    # at the top: a source tree that lies in somebody's repository isn't that repository.
    execute_process(COMMAND git -c safe.directory=* -C ${source_dir} rev-parse --show-cdup HEAD
        OUTPUT_VARIABLE answer ERROR_VARIABLE error RESULT_VARIABLE failed
        OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_STRIP_TRAILING_WHITESPACE)
    if(failed EQUAL 0 AND answer MATCHES "^\n([0-9a-f]+)$")
        string(SUBSTRING ${CMAKE_MATCH_1} 0 40 commit)
    else()
        string(REPEAT 0 40 commit)
        string(REGEX REPLACE "\n.*" "" error "${error}")
        if(failed EQUAL 0)
            set(error "it is no repository of its own")
        elseif(error STREQUAL "")
            set(error "${failed}") # no git
        endif()
        message(WARNING "The build can't name its commit (git, of ${source_dir}: ${error}). "
            "Give it: -DRAVELIN_COMMIT=<40 digits>")
    endif()
    set(${result} ${commit} PARENT_SCOPE)
endfunction()
