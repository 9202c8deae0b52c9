# One place for the warnings of our own code; each flag has caught a real fault in code like this.
option(ORVANE_WARNINGS_AS_ERRORS "Treat warnings in our own code as errors" OFF)

function(orvane_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /permissive-
            $<$<BOOL:${ORVANE_WARNINGS_AS_ERRORS}>:/WX>)
        return()
    endif()
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic
        -Wshadow                # a local that hides a member of the same name
        -Wnon-virtual-dtor      # deleting through an interface without a virtual destructor
        -Woverloaded-virtual    # a misspelt override
        -Wconversion            # sizes and counts cross 32 and 64 bits all over the wire code
        -Wold-style-cast
        -Wcast-align
        -Wnull-dereference
        $<$<CXX_COMPILER_ID:GNU>:-Wduplicated-cond -Wlogical-op>
        $<$<BOOL:${ORVANE_WARNINGS_AS_ERRORS}>:-Werror>)
    # Instrumented code of the standard library's regular expressions looks uninitialised to GCC.
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_FLAGS MATCHES "-fsanitize")
        target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
endfunction()
