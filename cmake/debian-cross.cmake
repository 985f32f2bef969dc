# What the toolchain files for Debian's cross compilers share. The compiler brings headers and libraries of C and C++; all
# else comes from the board's sysroot (scripts/sysroot), and nothing from this machine.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_C_COMPILER ${RAVELIN_BOARD_TRIPLET}-gcc)
set(CMAKE_CXX_COMPILER ${RAVELIN_BOARD_TRIPLET}-g++)

set(sysroots "$ENV{RAVELIN_SYSROOTS}")
if(sysroots STREQUAL "")
    cmake_path(SET sysroots NORMALIZE "${CMAKE_CURRENT_LIST_DIR}/../build-sysroot")
endif()
set(CMAKE_SYSROOT "${sysroots}/${RAVELIN_BOARD_ARCH}")
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "There are no headers and libraries of ${RAVELIN_BOARD_ARCH} in ${CMAKE_SYSROOT}: "
        "run scripts/setup --board ${RAVELIN_BOARD_ARCH}")
endif()
set(CMAKE_LIBRARY_ARCHITECTURE ${RAVELIN_BOARD_TRIPLET})
# The board's loader looks there by itself. CMake would learn that from the compiler, but reads its answer only up to a blank
# in the sysroot's path, and then gives what it links a run path of its own.
list(APPEND CMAKE_PLATFORM_IMPLICIT_LINK_DIRECTORIES
    "${CMAKE_SYSROOT}/usr/lib/${RAVELIN_BOARD_TRIPLET}" "${CMAKE_SYSROOT}/lib/${RAVELIN_BOARD_TRIPLET}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Tests run under it, where it is installed.
find_program(RAVELIN_QEMU ${RAVELIN_BOARD_QEMU})
if(RAVELIN_QEMU)
    set(CMAKE_CROSSCOMPILING_EMULATOR "${RAVELIN_QEMU};-L;${CMAKE_SYSROOT}")
endif()
