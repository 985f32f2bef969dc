# Run by `cmake --install`: writes SOURCE to OUTPUT, with the places of an installation under /usr replaced by those under
# the prefix.
file(READ "${SOURCE}" text)

function(replace_place standard place)
    cmake_path(ABSOLUTE_PATH place BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
    string(REPLACE "${standard}" "${place}" text "${text}")
    set(text "${text}" PARENT_SCOPE)
endfunction()

replace_place(/usr/sbin/ravelin- "${SBIN_DIR}/ravelin-")
replace_place(/usr/share/ravelin-mobile "${DATA_DIR}")
replace_place(/usr/lib/ravelin-mobile "${HELPER_DIR}")
replace_place(/etc/default/ravelin "${SYSCONF_DIR}/default/ravelin")
replace_place(/etc/ravelin "${SYSCONF_DIR}/ravelin")
file(WRITE "${OUTPUT}" "${text}")
