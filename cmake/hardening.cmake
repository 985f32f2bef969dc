# How everything that a board may get is compiled and linked: small, hardened, and the same bytes in whatever folder it is
# built. Sanitizers and builds without optimisation bring checks of their own and go without.
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
include(CheckPIESupported)
check_pie_supported() # some toolchains link no position-independent executables unless they are asked to

# Programs find our libraries beside themselves while they stand in the build folder. An installed program has no path at
# all: the loader's own places must do, so that nobody who can write to some folder slips a library under the daemon.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# A log line names its source file: spell it relative to the repository, wherever that was built.
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=)

# The daemon and its bus library wait for a modem most of the time: what is large costs more than what is slow. Nothing
# throws through them, and a debugger finds its way by the debugging information.
set(RAVELIN_SMALL -Os -fno-asynchronous-unwind-tables)

set(RAVELIN_HARDENED ON)
if(RAVELIN_SANITIZE OR CMAKE_BUILD_TYPE STREQUAL "Debug")
    set(RAVELIN_HARDENED OFF)
    set(RAVELIN_SMALL "")
endif()
if(RAVELIN_HARDENED)
    # Debugging information spells them so too, since the identification of a build is made of it. A debugger finds the
    # sources when it is started in the repository.
    add_compile_options(-ffile-prefix-map=${CMAKE_SOURCE_DIR}/= -ffile-prefix-map=${CMAKE_BINARY_DIR}=build)

    # Level 2 is what every C library and compiler of a board knows. A packager's own level gives way without a word.
    add_compile_options(-fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
    include(CheckCXXCompilerFlag)
    check_cxx_compiler_flag("-Werror -fstack-clash-protection" RAVELIN_HAS_STACK_CLASH_PROTECTION)
    if(RAVELIN_HAS_STACK_CLASH_PROTECTION)
        add_compile_options(-fstack-clash-protection)
    endif()
    add_link_options(LINKER:-z,relro LINKER:-z,now)

    # What nothing calls doesn't go to a board.
    add_compile_options(-ffunction-sections -fdata-sections)
    add_link_options(LINKER:--gc-sections)
endif()
