# The man pages, in man/ of the build folder: made from what the programs say of their own use, without running one, so that
# a build for a board makes them too.
include(GNUInstallDirs)
find_program(AWK_PROGRAM NAMES mawk gawk awk REQUIRED)
set(MAN_PAGE_SCRIPT ${CMAKE_CURRENT_LIST_DIR}/man_page.awk)
set(MAN_PAGE_FOLDER ${CMAKE_BINARY_DIR}/man)
file(MAKE_DIRECTORY ${MAN_PAGE_FOLDER})
set(MAN_PAGES)

# add_man_page(NAME SECTION COMPONENT TEXT...): of TEXT, where the program says what it does, and docs/man/NAME.SECTION.man.
# Installed with COMPONENT. TEXT may be a file that the build has made.
function(add_man_page name section component)
    set(page ${MAN_PAGE_FOLDER}/${name}.${section})
    set(texts)
    foreach(text ${ARGN} docs/man/${name}.${section}.man)
        cmake_path(ABSOLUTE_PATH text BASE_DIRECTORY ${CMAKE_SOURCE_DIR})
        list(APPEND texts ${text})
    endforeach()
    add_custom_command(OUTPUT ${page}
        COMMAND ${AWK_PROGRAM} -v name=${name} -v section=${section} -v version=${PROJECT_VERSION} -v page_file=${page}
                -f ${MAN_PAGE_SCRIPT} ${texts}
        DEPENDS ${MAN_PAGE_SCRIPT} ${texts} VERBATIM COMMENT "Man page ${name}(${section})")
    install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
    set(MAN_PAGES ${MAN_PAGES} ${page} PARENT_SCOPE)
endfunction()

add_man_page(ravelin-mobile 8 daemon network_daemon/main_options.cpp support/trace_log.cpp)
add_man_page(ravelin-board-setup 8 daemon packaging/board/ravelin-board-setup)
if(RAVELIN_TOOLS)
    add_man_page(ravelin-guard 8 guard tools/guard/ravelin_guard.help)
    add_man_page(modem_sim 1 tools ${MODEM_SIM_HELP})
    if(RAVELINCTL_HELP)
        add_man_page(ravelinctl 1 tools ${RAVELINCTL_HELP})
    endif()
    add_man_page(ocpp_peer 1 tools simulator/bus_peer/ocpp_peer.help)
    add_man_page(scenario_run 1 tools simulator/virtual_time/scenario_run.help)
    add_man_page(ravelin_soak 1 tools simulator/soak/ravelin_soak.help)
    add_man_page(recovery_matrix 1 tools simulator/matrix/recovery_matrix.help)
endif()
add_custom_target(man_pages ALL DEPENDS ${MAN_PAGES})
