# The target "headers", built by CI: each header compiles by itself. Those that a source of the same
# name includes first have been compiled so already.
file(GLOB_RECURSE headers RELATIVE ${PROJECT_SOURCE_DIR}
    OrvaneCore/*.h protocol/*.h config/*.h server/*.h app/*.h tools/*.h bench/*.h tests/*.h)
foreach(header ${headers})
    string(REGEX REPLACE "\\.h$" "" stem ${header})
    if(EXISTS ${PROJECT_SOURCE_DIR}/${stem}.cpp OR
       EXISTS ${PROJECT_SOURCE_DIR}/${stem}-${ORVANE_PLATFORM}.cpp)
        continue()
    endif()
    set(source ${PROJECT_BINARY_DIR}/headers/${stem}.cpp)
    file(CONFIGURE OUTPUT ${source} CONTENT "#include \"${header}\"\n")
    list(APPEND sources ${source})
endforeach()
add_library(headers OBJECT EXCLUDE_FROM_ALL ${sources})
target_link_libraries(headers PRIVATE desktop master server)
orvane_set_warnings(headers)
