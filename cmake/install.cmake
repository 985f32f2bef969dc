# What `cmake --install` puts where, by GNUInstallDirs. Components: "daemon" is all that a board needs beside its own bus
# library, "busglue" is the open one, "tools" are the simulators and what else is for people, "doc" the pages. DESTDIR
# and --strip work.
include(GNUInstallDirs)

# Folders that GNUInstallDirs has no name for; relative ones are below the prefix.
set(RAVELIN_UNIT_DIR lib/systemd/system CACHE STRING "Folder of systemd's units")
set(RAVELIN_HELPER_DIR lib/ravelin-mobile CACHE STRING "Folder of the scripts around the daemon")
set(RAVELIN_UDEV_DIR lib/udev/rules.d CACHE STRING "Folder of udev's rules")
set(RAVELIN_BUS_POLICY_DIR ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d CACHE STRING "Folder of the bus's policies")

# Settings are in /etc when the prefix is /usr, which isn't known before it is installed.
install(CODE "
    set(SYSCONF_DIR [==[${CMAKE_INSTALL_SYSCONFDIR}]==])
    if(CMAKE_INSTALL_PREFIX STREQUAL /usr AND SYSCONF_DIR STREQUAL etc)
        set(SYSCONF_DIR /etc)
    endif()
    cmake_path(ABSOLUTE_PATH SYSCONF_DIR BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")" ALL_COMPONENTS)

set(PACKAGING ${CMAKE_SOURCE_DIR}/packaging)
set(RAVELIN_DATA_DIR ${CMAKE_INSTALL_DATADIR}/ravelin-mobile)
set(RAVELIN_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/ravelin-mobile)
set(RAVELIN_PRIVATE_LIBRARY_DIR ${CMAKE_INSTALL_LIBDIR}/ravelin-mobile)
set(PROGRAM_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(TEXT_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# install_with_paths(SOURCE FOLDER NAME PERMISSION...): a text of ours that names installed files by where they are under
# /usr, installed with where they are under this prefix, which isn't known earlier.
# Of the component INSTALLED_COMPONENT, "daemon" unless that is set.
function(install_with_paths source folder name)
    set(component daemon)
    if(INSTALLED_COMPONENT)
        set(component ${INSTALLED_COMPONENT})
    endif()
    install(CODE "
        set(SOURCE [==[${source}]==])
        set(OUTPUT [==[${CMAKE_BINARY_DIR}/installed/${name}]==])
        set(SBIN_DIR [==[${CMAKE_INSTALL_SBINDIR}]==])
        set(DATA_DIR [==[${RAVELIN_DATA_DIR}]==])
        set(HELPER_DIR [==[${RAVELIN_HELPER_DIR}]==])
        include([==[${CMAKE_SOURCE_DIR}/cmake/with_paths.cmake]==])" COMPONENT ${component})
    install(FILES ${CMAKE_BINARY_DIR}/installed/${name} DESTINATION ${folder} PERMISSIONS ${ARGN} COMPONENT ${component})
endfunction()

# install_settings(SOURCE FOLDER NAME PERMISSION...): a file below the folder of settings.
function(install_settings source folder name)
    set(component daemon)
    if(INSTALLED_COMPONENT)
        set(component ${INSTALLED_COMPONENT})
    endif()
    install(CODE "file(INSTALL DESTINATION \"\${SYSCONF_DIR}/${folder}\" TYPE FILE RENAME ${name} PERMISSIONS ${ARGN}
        FILES [==[${source}]==])" COMPONENT ${component})
endfunction()

# The daemon and what stands around it on a board. In the build folder it finds the bus library beside itself, installed
# by the loader's own places. CMake's own way to change that would leave an empty entry in the first, which is the
# current folder, whoever can write to that.
set_target_properties(ravelin-mobile PROPERTIES BUILD_WITH_INSTALL_RPATH ON INSTALL_RPATH $ORIGIN)
install(TARGETS ravelin-mobile RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT daemon)
install(CODE "
    set(program [==[${CMAKE_INSTALL_SBINDIR}/ravelin-mobile]==])
    cmake_path(ABSOLUTE_PATH program BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
    file(RPATH_REMOVE FILE \"\$ENV{DESTDIR}\${program}\")" COMPONENT daemon)
install_with_paths(${PACKAGING}/board/ravelin-board-setup ${CMAKE_INSTALL_SBINDIR} ravelin-board-setup
    ${PROGRAM_PERMISSIONS})
install(PROGRAMS ${PACKAGING}/board/if-lte ${PACKAGING}/board/udhcpc-lte ${PACKAGING}/board/Reset4G.sh
    ${PACKAGING}/board/S84Reset4G.sh DESTINATION ${RAVELIN_DATA_DIR}/board COMPONENT daemon)
install(FILES ${PACKAGING}/board/network.json DESTINATION ${RAVELIN_DATA_DIR}/board COMPONENT daemon)
install_settings(${PACKAGING}/board/ifcfg-lte ravelin ifcfg-lte OWNER_READ OWNER_WRITE) # maybe with the APN's password
install_settings(${PACKAGING}/init/ravelin-mobile.default default ravelin-mobile ${TEXT_PERMISSIONS})
install_settings(${PACKAGING}/logrotate/ravelin-mobile logrotate.d ravelin-mobile ${TEXT_PERMISSIONS})
install(FILES ${PACKAGING}/board/busglue.conf DESTINATION ${RAVELIN_BUS_POLICY_DIR} COMPONENT daemon)
install(FILES ${PACKAGING}/udev/70-ravelin-mobile.rules DESTINATION ${RAVELIN_UDEV_DIR} COMPONENT daemon)
# A board copies the wrapper of the firmware tool to where the tool is; the scripts around the daemon ask it for flashes.
install(PROGRAMS ${PACKAGING}/board/QFirehose DESTINATION ${RAVELIN_DATA_DIR}/board COMPONENT daemon)
install(PROGRAMS ${PACKAGING}/board/QFirehose ${PACKAGING}/init/ravelin-supervise DESTINATION ${RAVELIN_HELPER_DIR}
    COMPONENT daemon)
install_with_paths(${PACKAGING}/init/ravelin-prepare ${RAVELIN_HELPER_DIR} ravelin-prepare ${PROGRAM_PERMISSIONS})
install_with_paths(${PACKAGING}/systemd/ravelin-mobile.service ${RAVELIN_UNIT_DIR} ravelin-mobile.service
    ${TEXT_PERMISSIONS})
# For boards whose init is BusyBox's, which take it into /etc/init.d themselves.
install_with_paths(${PACKAGING}/init/ravelin-mobile ${RAVELIN_DATA_DIR}/init ravelin-mobile ${PROGRAM_PERMISSIONS})

# The pages, which a small board does without
install(FILES ${CMAKE_SOURCE_DIR}/README.md DESTINATION ${RAVELIN_DOC_DIR} COMPONENT doc)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/docs DESTINATION ${RAVELIN_DOC_DIR} COMPONENT doc
    FILES_MATCHING PATTERN *.md PATTERN *.svg PATTERN *.png)

# The open bus library: programs come with the name that they were linked to, so nobody needs more than this file
if(RAVELIN_BUSGLUE STREQUAL "") # a board that brings its own has it already
    install(TARGETS busglue LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT busglue)
endif()

if(RAVELIN_TOOLS)
    set(INSTALLED_COMPONENT guard)
    install(TARGETS ravelin-guard RUNTIME DESTINATION ${CMAKE_INSTALL_SBINDIR} COMPONENT guard)
    install_settings(${PACKAGING}/board/guard.conf ravelin guard.conf ${TEXT_PERMISSIONS})
    install_with_paths(${PACKAGING}/systemd/ravelin-guard.service ${RAVELIN_UNIT_DIR} ravelin-guard.service
        ${TEXT_PERMISSIONS})
    install_with_paths(${PACKAGING}/init/ravelin-guard ${CMAKE_INSTALL_DATADIR}/ravelin-guard/init ravelin-guard
        ${PROGRAM_PERMISSIONS})
    unset(INSTALLED_COMPONENT)

    set(TOOLS_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/ravelin-mobile-tools)
    install(TARGETS modem_sim ocpp_peer ravelinctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    if(RAVELINCTL_COMPLETION)
        install(FILES ${RAVELINCTL_COMPLETION} DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            COMPONENT tools)
    endif()
    # These look for their library and the daemon beside themselves.
    install(TARGETS scenario_run ravelin_soak recovery_matrix RUNTIME DESTINATION ${RAVELIN_PRIVATE_LIBRARY_DIR} COMPONENT tools)
    install(TARGETS ravelin_virtual_time LIBRARY DESTINATION ${RAVELIN_PRIVATE_LIBRARY_DIR} COMPONENT tools)
    install(CODE "
        set(BIN_DIR [==[${CMAKE_INSTALL_BINDIR}]==])
        set(SBIN_DIR [==[${CMAKE_INSTALL_SBINDIR}]==])
        set(LIBRARY_DIR [==[${RAVELIN_PRIVATE_LIBRARY_DIR}]==])
        include([==[${CMAKE_SOURCE_DIR}/cmake/link_tools.cmake]==])" COMPONENT tools)
    # Off until somebody enables the timer.
    install(FILES ${PACKAGING}/systemd/ravelin-metrics.service ${PACKAGING}/systemd/ravelin-metrics.timer
        DESTINATION ${RAVELIN_UNIT_DIR} COMPONENT tools)
    install(DIRECTORY ${PACKAGING}/prometheus DESTINATION ${TOOLS_DOC_DIR}/examples COMPONENT tools)
    install(PROGRAMS ${CMAKE_SOURCE_DIR}/simulator/QFirehose DESTINATION ${TOOLS_DOC_DIR}/examples COMPONENT tools)
    install(DIRECTORY ${CMAKE_SOURCE_DIR}/tests/scenarios DESTINATION ${TOOLS_DOC_DIR}/examples COMPONENT tools
        FILES_MATCHING PATTERN *_start_to_online.scenario PATTERN *_link_lost.scenario PATTERN machinery EXCLUDE)
endif()
