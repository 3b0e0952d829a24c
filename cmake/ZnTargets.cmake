# How every target of the project is built: warnings, sanitizers, shared-library names.

# What all our own code is compiled with; link it privately.
add_library(zn_options INTERFACE)
target_compile_options(zn_options INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ZN_WERROR}>:-Werror>)
if(ZN_SANITIZE)
    target_compile_options(zn_options INTERFACE
        -fsanitize=${ZN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(zn_options INTERFACE -fsanitize=${ZN_SANITIZE})
endif()

# zn_shared_library(NAME SOURCES file... [INCLUDES dir...] [PUBLIC target...] [PRIVATE target...]
#                   [EXPORTS version-script])
# A shared library lib<NAME> with a SONAME, installed with the headers of the framework. Its name
# outside the project is ZnPolicy::<Name>, without the prefix Zn or ZnPolicy: ZnPolicy::Logger,
# ZnPolicy::Store; libZnPolicy itself is ZnPolicy::ZnPolicy.
#
# Symbols that our headers do not mark as exported stay hidden; on ELF the version script hides
# instantiated templates of the standard library as well.
function(zn_shared_library name)
    cmake_parse_arguments(ARG "" "EXPORTS" "SOURCES;INCLUDES;PUBLIC;PRIVATE" ${ARGN})
    string(REGEX REPLACE "^Zn(Policy)?" "" public_name ${name})
    if(NOT public_name)
        set(public_name ${name})
    endif()
    add_library(${name} SHARED ${ARG_SOURCES})
    add_library(ZnPolicy::${public_name} ALIAS ${name})
    target_compile_features(${name} PUBLIC cxx_std_17)
    target_include_directories(${name}
        INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/ZnPolicy>)
    foreach(directory ${ARG_INCLUDES})
        get_filename_component(directory ${directory} ABSOLUTE)
        target_include_directories(${name} PUBLIC $<BUILD_INTERFACE:${directory}>)
    endforeach()
    target_link_libraries(${name}
        PUBLIC "$<BUILD_INTERFACE:${ARG_PUBLIC}>"
        PRIVATE zn_options ${ARG_PRIVATE})
    set_target_properties(${name} PROPERTIES
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} EXPORT_NAME ${public_name})
    # On ELF, a program's own function of the same name would replace ours inside our library as
    # well; on macOS it never does.
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
    set(component znpolicy-services1)
    if(name MATCHES "^ZnPolicy")
        set(component libznpolicy1)
    endif()
    install(TARGETS ${name} EXPORT ZnPolicyTargets LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT ${component} NAMELINK_COMPONENT libznpolicy-dev)
    zn_system_prefix_without_runpath(${CMAKE_INSTALL_LIBDIR} ${name} ${component})
endfunction()

# zn_system_prefix_without_runpath(DIRECTORY TARGET COMPONENT)
# Installed below /usr or /usr/local, the file needs no RUNPATH: the loader searches there anyway.
# The prefix is known when installing only.
function(zn_system_prefix_without_runpath directory target component)
    if(NOT APPLE)
        install(CODE "
            if(CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?/?$\")
                file(RPATH_REMOVE FILE
                    \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${directory}/$<TARGET_FILE_NAME:${target}>\")
            endif()" COMPONENT ${component})
    endif()
endfunction()

# zn_unity_build(TARGET)
# With ZN_UNITY, compiles several sources of TARGET at once: the headers of CLI11 and GoogleTest take
# most of the time of a single one. Warnings about fixtures in anonymous namespaces are for headers.
function(zn_unity_build target)
    set_target_properties(${target} PROPERTIES
        UNITY_BUILD ${ZN_UNITY} UNITY_BUILD_BATCH_SIZE 12)
    if(ZN_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
endfunction()

# zn_test(NAME SOURCES file... [LINK target...] [LABELS label...])
# A GoogleTest program, run by CTest case by case. The tests themselves are not optimised: that would
# take much longer than running them.
function(zn_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LINK;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE
        ${ARG_LINK} zn_test_support zn_options GTest::gtest GTest::gmock)
    target_compile_options(${name} PRIVATE -O0)
    zn_unity_build(${name})
    gtest_discover_tests(${name} PROPERTIES LABELS "${ARG_LABELS}" DISCOVERY_TIMEOUT 60)
endfunction()
