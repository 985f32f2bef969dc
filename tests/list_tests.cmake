# list_tests(PROGRAM [PROPERTY VALUE]...): each test of a GoogleTest program is one of ctest, with these properties. It is called
# FILE.SUITE.NAME by the source file that it stands in, since a program may be made of many.
set(LIST_TESTS ${CMAKE_CURRENT_LIST_DIR}/write_test_list.cmake)

function(list_tests program)
    set(list ${CMAKE_CURRENT_BINARY_DIR}/${program}.tests.cmake)
    add_custom_command(TARGET ${program} POST_BUILD BYPRODUCTS ${list}
        COMMAND ${CMAKE_COMMAND} -D PROGRAM=$<TARGET_FILE:${program}> -D "EMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR}"
            -D LIST=${list} -D FOLDER=${CMAKE_CURRENT_BINARY_DIR} -D "PROPERTIES=${ARGN}" -P ${LIST_TESTS}
        VERBATIM)
    set_property(DIRECTORY APPEND PROPERTY TEST_INCLUDE_FILES ${list})
endfunction()
