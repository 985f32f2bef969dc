# Programs of a board run under the toolchain's emulator here. CMake puts it in front of the programs that tests and
# discovery start themselves. What starts further programs gets it as one word: RAVELIN_EMULATOR. What is to find our programs
# by their names in a build folder is shown EMULATED_FOLDER, where each has a script in its place.
set(RAVELIN_EMULATOR "")
if(NOT CMAKE_CROSSCOMPILING_EMULATOR)
    return()
endif()

function(shell_words result)
    set(text "")
    foreach(word ${ARGN})
        string(REPLACE "'" "'\\''" word "${word}")
        string(APPEND text " '${word}'")
    endforeach()
    set(${result} "${text}" PARENT_SCOPE)
endfunction()

function(write_script path)
    shell_words(words ${ARGN})
    file(WRITE ${path}.new "#!/bin/sh\nexec${words} \"$@\"\n")
    file(COPY_FILE ${path}.new ${path} ONLY_IF_DIFFERENT)
    file(REMOVE ${path}.new)
    file(CHMOD ${path} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
endfunction()

set(RAVELIN_EMULATOR ${CMAKE_BINARY_DIR}/emulate)
write_script(${RAVELIN_EMULATOR} ${CMAKE_CROSSCOMPILING_EMULATOR})
set(EMULATED_FOLDER ${CMAKE_BINARY_DIR}/emulated)
foreach(program ravelin-mobile modem_sim ocpp_peer ravelinctl)
    write_script(${EMULATED_FOLDER}/${program} ${CMAKE_CROSSCOMPILING_EMULATOR} ${CMAKE_BINARY_DIR}/${program})
endforeach()
