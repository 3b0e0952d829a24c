# How every target of the project is built: warnings, sanitizers, shared-library names.

# What all our own code is compiled with; link it privately.
add_library(zn_options INTERFACE)
target_compile_options(zn_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
if(ZN_SANITIZE)
    target_compile_options(zn_options INTERFACE
        -fsanitize=${ZN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(zn_options INTERFACE -fsanitize=${ZN_SANITIZE})
endif()

# zn_shared_library(NAME SOURCES file... [INCLUDES dir...] [PUBLIC target...] [PRIVATE target...]
#                   [EXPORTS version-script])
# A shared library lib<NAME> with a SONAME. Symbols that our headers do not mark as exported stay
# hidden; on ELF the version script also keeps instantiated templates of the standard library in.
function(zn_shared_library name)
    cmake_parse_arguments(ARG "" "EXPORTS" "SOURCES;INCLUDES;PUBLIC;PRIVATE" ${ARGN})
    add_library(${name} SHARED ${ARG_SOURCES})
    target_include_directories(${name} PUBLIC ${ARG_INCLUDES})
    target_link_libraries(${name} PUBLIC ${ARG_PUBLIC} PRIVATE zn_options ${ARG_PRIVATE})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    # On ELF, a program's own function of the same name would take the place of ours inside our
    # library as well; on macOS it never does.
    if(NOT APPLE)
        target_link_options(${name} PRIVATE LINKER:-Bsymbolic-functions)
    endif()
    # A library names all libraries that it needs. (The sanitizers of clang are the exception: their
    # runtime comes with the program.)
    if(NOT APPLE AND NOT (ZN_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
        target_link_options(${name} PRIVATE LINKER:--no-undefined)
    endif()
    if(ARG_EXPORTS AND NOT APPLE)
        target_link_options(${name} PRIVATE
            "LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/${ARG_EXPORTS}")
        set_target_properties(${name} PROPERTIES
            LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${ARG_EXPORTS})
    endif()
    install(TARGETS ${name} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
endfunction()

# zn_test(NAME SOURCES file... [LINK target...] [LABELS label...])
# A GoogleTest program, run by CTest case by case.
function(zn_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE
        ${ARG_LINK} zn_test_support zn_options GTest::gtest GTest::gmock)
    gtest_discover_tests(${name} PROPERTIES LABELS "${ARG_LABELS}" DISCOVERY_TIMEOUT 60)
endfunction()
