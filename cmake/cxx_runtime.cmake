# What a board gets uses the C++ library's templates and next to nothing of its shared library, which would cost each
# process some 90 KiB of memory of its own. link_without_cxx_library(TARGET) links a target of ours without it. For code
# without exceptions; not for sanitizers and builds without optimisation, nor where the toolchain has no static part of
# that library, for its trees. Nor beside a board's own bus library that wants the shared library itself: nothing would be
# saved, and its exceptions are not ours to end.
set(RAVELIN_WITHOUT_CXX_LIBRARY OFF)
if(RAVELIN_HARDENED AND NOT RAVELIN_COVERAGE AND NOT RAVELIN_FUZZERS)
    include(CheckCXXSourceCompiles)
    set(CMAKE_REQUIRED_LINK_OPTIONS -static-libstdc++)
    check_cxx_source_compiles("#include <map>
        #include <bits/functexcept.h>
        int main(int argc, char**) { return static_cast<int>(std::map<int, int>{{argc, 0}}.size()); }"
        RAVELIN_HAS_STATIC_CXX_LIBRARY)
    unset(CMAKE_REQUIRED_LINK_OPTIONS)
    if(RAVELIN_HAS_STATIC_CXX_LIBRARY)
        set(RAVELIN_WITHOUT_CXX_LIBRARY ON)
    endif()
endif()

if(RAVELIN_WITHOUT_CXX_LIBRARY AND NOT "${RAVELIN_BUSGLUE}" MATCHES "^(stub)?$")
    get_filename_component(library "${RAVELIN_BUSGLUE}" ABSOLUTE BASE_DIR ${CMAKE_SOURCE_DIR})
    execute_process(COMMAND ${CMAKE_NM} -D --undefined-only "${library}" OUTPUT_VARIABLE wanted ERROR_QUIET)
    if(wanted MATCHES " (_Zn|_Zd|_ZSt|_ZNS|_ZNKS|__cxa_throw|__gxx_personality)")
        set(RAVELIN_WITHOUT_CXX_LIBRARY OFF)
    endif()
endif()

function(link_without_cxx_library target)
    if(RAVELIN_WITHOUT_CXX_LIBRARY)
        target_sources(${target} PRIVATE ${CMAKE_SOURCE_DIR}/platform/cxx_runtime/cxx_runtime.cpp)
        # 32-bit ARM divides by the compiler's own library, which is shared otherwise.
        target_link_options(${target} PRIVATE -static-libstdc++ -static-libgcc)
    endif()
endfunction()
