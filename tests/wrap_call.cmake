# wrap_call(PROGRAM CALL): PROGRAM defines __wrap_CALL in place of the library's CALL, and reaches that by __real_CALL.

# What the library calls them where 64 bits of time and file offset are an extension, as on 32-bit boards.
set(RENAMED_CALLS "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(RENAMED_CALLS time=__time64 gettimeofday=__gettimeofday64 clock_gettime=__clock_gettime64 select=__select64
        ioctl=__ioctl_time64 open=open64 fopen=fopen64 tmpfile=tmpfile64)
endif()

function(wrap_call program call)
    set(name ${call})
    foreach(renamed ${RENAMED_CALLS})
        if(renamed MATCHES "^${call}=(.*)$")
            set(name ${CMAKE_MATCH_1})
            target_compile_definitions(${program} PRIVATE __wrap_${call}=__wrap_${name} __real_${call}=__real_${name})
        endif()
    endforeach()
    target_link_options(${program} PRIVATE LINKER:--wrap=${name})
endfunction()
