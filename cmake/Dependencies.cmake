# What the programs are built with: Asio and RapidXml, which are headers alone, and the toolkit, for
# the desktop program.
find_package(Threads REQUIRED)

# Makes an interface target of the given parts of the toolkit: the cross-built one brings CMake
# targets, the packaged one variables.
function(orvane_add_toolkit target)
    find_package(wxWidgets REQUIRED COMPONENTS ${ARGN})
    add_library(${target} INTERFACE)
    if(TARGET wx::base)
        list(TRANSFORM ARGN PREPEND wx::)
        target_link_libraries(${target} INTERFACE ${ARGN})
        return()
    endif()
    separate_arguments(flags UNIX_COMMAND "${wxWidgets_CXX_FLAGS}")
    target_compile_definitions(${target} INTERFACE ${wxWidgets_DEFINITIONS})
    target_include_directories(${target} SYSTEM INTERFACE ${wxWidgets_INCLUDE_DIRS})
    target_compile_options(${target} INTERFACE ${flags})
    target_link_libraries(${target} INTERFACE ${wxWidgets_LIBRARIES})
endfunction()

orvane_add_toolkit(toolkit_gui core base)
if(NOT WIN32)
    find_package(X11 REQUIRED)
endif()

find_path(ASIO_INCLUDE_DIR asio.hpp REQUIRED)
add_library(asio INTERFACE)
target_include_directories(asio SYSTEM INTERFACE ${ASIO_INCLUDE_DIR})
target_compile_definitions(asio INTERFACE ASIO_STANDALONE ASIO_NO_DEPRECATED)
target_link_libraries(asio INTERFACE Threads::Threads)
# The thread sanitizer does not see through its fences; here nobody else's data hangs on them.
target_compile_options(asio INTERFACE $<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
if(WIN32)
    target_compile_definitions(asio INTERFACE _WIN32_WINNT=0x0601)
    target_link_libraries(asio INTERFACE ws2_32 mswsock)
endif()

find_path(RAPIDXML_INCLUDE_DIR rapidxml/rapidxml_print.hpp REQUIRED)
add_library(rapidxml INTERFACE)
target_include_directories(rapidxml SYSTEM INTERFACE ${RAPIDXML_INCLUDE_DIR})

# The command-line master: OpenEXR and PNG images, its command line, its reports.
find_package(OpenEXR REQUIRED CONFIG)
find_package(PNG REQUIRED)
find_path(CLI11_INCLUDE_DIR CLI/CLI.hpp REQUIRED)
add_library(cli11 INTERFACE)
target_include_directories(cli11 SYSTEM INTERFACE ${CLI11_INCLUDE_DIR})
find_path(JSON_INCLUDE_DIR nlohmann/json.hpp REQUIRED)
add_library(json INTERFACE)
target_include_directories(json SYSTEM INTERFACE ${JSON_INCLUDE_DIR})
