# Cross-build for 64-bit Windows on Debian. The libraries come from scripts/windows-dependencies,
# which is run from here unless ORVANE_WINDOWS_PREFIX names their folder.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The -posix variants bring std::thread; -static leaves no run-time DLL to be installed on a node.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# What this compiler can do against faults in code that reads strangers' bytes;
# docs/WINDOWS-RELEASE.md says what it cannot. The libraries are built with the same. The programs
# themselves say which Windows they need: 6.1 is Windows 7 and Server 2008 R2.
set(hardening "-fstack-protector-strong -D_FORTIFY_SOURCE=2 -D_WIN32_WINNT=0x0601")
set(CMAKE_C_FLAGS_INIT "${hardening}")
set(CMAKE_CXX_FLAGS_INIT "${hardening}")
string(CONCAT CMAKE_EXE_LINKER_FLAGS_INIT
    "-static -Wl,--dynamicbase,--high-entropy-va,--nxcompat"
    " -Wl,--major-os-version,6,--minor-os-version,1"
    " -Wl,--major-subsystem-version,6,--minor-subsystem-version,1")

if(NOT ORVANE_WINDOWS_PREFIX)
    execute_process(
        COMMAND ${CMAKE_CURRENT_LIST_DIR}/../scripts/windows-dependencies --print-prefix
        OUTPUT_VARIABLE ORVANE_WINDOWS_PREFIX OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ORVANE_WINDOWS_PREFIX)

# Programs are run here, everything else must be for Windows.
set(CMAKE_FIND_ROOT_PATH ${ORVANE_WINDOWS_PREFIX} /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_FIND_PACKAGE_PREFER_CONFIG ON) # CMake's own module does not find this wxWidgets
set(ZLIB_USE_STATIC_LIBS ON)
