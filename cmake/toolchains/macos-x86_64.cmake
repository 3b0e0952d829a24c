# Cross-compiles for macOS on x86-64 with the compiler that scripts/crossbuild-macos fetches. The
# C++ runtime and third-party libraries are not linked; the loader finds them, as on a Mac.
#
# ZIG names the compiler (as a cache variable or in the environment).
set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

if(NOT ZIG)
    set(ZIG $ENV{ZIG})
endif()
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ZIG)
set(CMAKE_C_COMPILER ${ZIG} cc)
set(CMAKE_C_COMPILER_TARGET x86_64-macos)
set(CMAKE_CXX_COMPILER ${ZIG} c++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-macos)
set(CMAKE_AR llvm-ar)
