# 64-bit Arm Linux from another machine: Debian's cross compiler, libraries of the sysroot that scripts/cross-arm64
# makes, tests through qemu-user. CMAKE_SYSROOT names another sysroot.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

if(NOT CMAKE_SYSROOT)
    set(brellix_cache "$ENV{XDG_CACHE_HOME}")
    if(NOT brellix_cache)
        set(brellix_cache "$ENV{HOME}/.cache")
    endif()
    set(CMAKE_SYSROOT "${brellix_cache}/brellix/arm64-sysroot")
endif()
if(NOT EXISTS "${CMAKE_SYSROOT}/usr/include")
    message(FATAL_ERROR "'${CMAKE_SYSROOT}' is no sysroot: scripts/cross-arm64 makes one")
endif()

# The processor is left to the environment variable QEMU_CPU, so that one build runs on several.
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${CMAKE_SYSROOT})

# Tools, the protocol compiler among them, are this machine's; everything else is the target's.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
