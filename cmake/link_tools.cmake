# Run by `cmake --install`: the tools of virtual time in the folder for commands, and the daemon beside them. The links are
# relative, so that they hold in a DESTDIR too.
function(link target link)
    cmake_path(ABSOLUTE_PATH target BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
    cmake_path(ABSOLUTE_PATH link BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}")
    cmake_path(GET link PARENT_PATH directory)
    cmake_path(RELATIVE_PATH target BASE_DIRECTORY "${directory}")
    file(MAKE_DIRECTORY "$ENV{DESTDIR}${directory}")
    file(CREATE_LINK "${target}" "$ENV{DESTDIR}${link}" SYMBOLIC)
    message(STATUS "Installing: $ENV{DESTDIR}${link}")
endfunction()

link("${LIBRARY_DIR}/scenario_run" "${BIN_DIR}/scenario_run")
link("${LIBRARY_DIR}/ravelin_soak" "${BIN_DIR}/ravelin_soak")
link("${LIBRARY_DIR}/recovery_matrix" "${BIN_DIR}/recovery_matrix")
link("${SBIN_DIR}/ravelin-mobile" "${LIBRARY_DIR}/ravelin-mobile")
