# add_help_text(TOOL FILE): the text of the tool's --help, and that of --version, as simulator/help_text.h declares them.
# The man page is made from the same file.
function(add_help_text tool file)
    set(HELP_TOOL ${tool})
    file(READ ${file} HELP_TEXT)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/help_text.cpp.in ${CMAKE_CURRENT_BINARY_DIR}/${tool}_help.cpp @ONLY)
    target_sources(${tool} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${tool}_help.cpp)
    target_include_directories(${tool} PRIVATE ${PROJECT_SOURCE_DIR})
endfunction()
