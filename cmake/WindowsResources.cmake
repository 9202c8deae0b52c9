# Gives a program what Windows shows of it: version, icon, manifest. Does nothing elsewhere.
function(orvane_add_resources program description)
    if(NOT WIN32)
        return()
    endif()
    set(file ${CMAKE_CURRENT_BINARY_DIR}/${program}.rc)
    configure_file(${PROJECT_SOURCE_DIR}/packaging/windows/program.rc.in ${file} @ONLY)
    target_sources(${program} PRIVATE ${file})
endfunction()
