# The target DBus::DBus: libdbus, of this machine or of the board's sysroot. Looked for by CMake itself, since the answers of
# pkg-config are cut at the blanks of a sysroot's path.
include_guard(GLOBAL)
find_path(DBUS_INCLUDE_DIR dbus/dbus.h PATH_SUFFIXES dbus-1.0 REQUIRED)
find_library(DBUS_LIBRARY dbus-1 REQUIRED)
# One header depends on the architecture, and lies beside the library.
cmake_path(GET DBUS_LIBRARY PARENT_PATH dbus_library_dir)
find_path(DBUS_ARCH_INCLUDE_DIR dbus/dbus-arch-deps.h HINTS "${dbus_library_dir}" PATH_SUFFIXES dbus-1.0/include REQUIRED)

add_library(DBus::DBus UNKNOWN IMPORTED GLOBAL)
set_target_properties(DBus::DBus PROPERTIES IMPORTED_LOCATION "${DBUS_LIBRARY}"
    INTERFACE_INCLUDE_DIRECTORIES "${DBUS_INCLUDE_DIR};${DBUS_ARCH_INCLUDE_DIR}")
