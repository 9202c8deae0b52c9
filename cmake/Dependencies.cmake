# What is installed and called: the toolkit (its base and network libraries everywhere, its window
# library for the desktop program only) and RapidXml, which is headers alone.
find_package(Threads REQUIRED)

# Makes an interface target of the given parts of the toolkit.
function(orvane_add_toolkit target)
    find_package(wxWidgets 3.0 REQUIRED COMPONENTS ${ARGN})
    separate_arguments(flags UNIX_COMMAND "${wxWidgets_CXX_FLAGS}")
    add_library(${target} INTERFACE)
    target_compile_definitions(${target} INTERFACE ${wxWidgets_DEFINITIONS})
    target_include_directories(${target} SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
    target_compile_options(${target} INTERFACE ${flags})
    target_link_libraries(${target} INTERFACE ${wxWidgets_LIBRARIES})
endfunction()

orvane_add_toolkit(toolkit_net net base)
orvane_add_toolkit(toolkit_gui adv core net base)
if(NOT WIN32)
    find_package(X11 REQUIRED)
endif()

find_path(RAPIDXML_INCLUDE_DIR rapidxml/rapidxml_print.hpp REQUIRED)
add_library(rapidxml INTERFACE)
target_include_directories(rapidxml SYSTEM INTERFACE ${RAPIDXML_INCLUDE_DIR})
