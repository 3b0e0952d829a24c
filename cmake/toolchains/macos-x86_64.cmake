# Cross-compiles for macOS on x86-64 with the zig compiler that ZIG names, in the environment or as
# a cache variable. Needs no Mac and no SDK.
#
# The C++ runtime and third-party libraries are left for the loader to find;
# scripts/crossbuild-macos checks what the binaries leave open.
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

if(NOT ZIG)
    set(ZIG $ENV{ZIG})
endif()
set(CMAKE_CXX_COMPILER ${ZIG} c++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-macos)
set(CMAKE_AR llvm-ar)
set(CMAKE_RANLIB llvm-ranlib)

set(CMAKE_SHARED_LINKER_FLAGS_INIT "-nostdlib++ -Wl,-undefined,dynamic_lookup")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-nostdlib++ -Wl,-undefined,dynamic_lookup")
