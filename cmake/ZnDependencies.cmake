# The third-party packages, each an imported target. One that is missing is reported in one line
# that names the package to install. Targets that an including project has made are used as they
# are.

option(ZN_HEADER_ONLY_SPDLOG "Compile spdlog and fmt into libZnLogger instead of linking them" OFF)
set(ZN_GOOGLETEST_SOURCE "" CACHE PATH
    "GoogleTest sources to build the tests with; empty: the installed library")
set(ZN_HEADERS_ONLY "" CACHE PATH
    "For cross builds: directory of all third-party headers; third-party libraries are not linked")

# zn_require(TARGET NAME DEBIAN package [HOMEBREW formula]
#            [VERSION oldest] [COMPONENTS name...] [PKGCONFIG module] | [HEADER header [LIBRARY name]])
# Finds a package with find_package, or else with pkg-config; with HEADER, by its files, whose
# places the cache variables <NAME>_INCLUDE_DIR and <NAME>_LIBRARY (upper case) override.
function(zn_require target name)
    cmake_parse_arguments(ARG "" "DEBIAN;HOMEBREW;VERSION;PKGCONFIG;HEADER;LIBRARY" "COMPONENTS"
        ${ARGN})
    if(TARGET ${target})
        return()
    endif()
    string(TOUPPER ${name} upper)
    if(ZN_HEADERS_ONLY)
        zn_import(${target} ${ZN_HEADERS_ONLY} "")
    elseif(ARG_HEADER)
        find_path(${upper}_INCLUDE_DIR ${ARG_HEADER})
        if(ARG_LIBRARY)
            find_library(${upper}_LIBRARY ${ARG_LIBRARY})
        endif()
        if(${upper}_INCLUDE_DIR AND (${upper}_LIBRARY OR NOT ARG_LIBRARY))
            zn_import(${target} "${${upper}_INCLUDE_DIR}" "${${upper}_LIBRARY}")
        endif()
    else()
        find_package(${name} QUIET COMPONENTS ${ARG_COMPONENTS})
        if(NOT TARGET ${target} AND ARG_PKGCONFIG)
            zn_find_with_pkgconfig(${target} ${name} ${ARG_PKGCONFIG})
        endif()
        # Compared here: some packages claim to be compatible within one minor version only.
        if(TARGET ${target} AND "${${name}_VERSION}${${upper}_VERSION}" VERSION_LESS "${ARG_VERSION}")
            set(name "${name} ${ARG_VERSION} or later")
            set(too_old TRUE)
        endif()
    endif()
    if(too_old OR NOT TARGET ${target})
        if(NOT ARG_HOMEBREW)
            set(ARG_HOMEBREW "set ${upper}_INCLUDE_DIR (no formula in Homebrew)")
        else()
            string(APPEND ARG_HOMEBREW " (Homebrew)")
        endif()
        message(FATAL_ERROR "${name} not found: install ${ARG_DEBIAN} (Debian) or ${ARG_HOMEBREW}")
    endif()
endfunction()

function(zn_import target include_directory library)
    add_library(${target} INTERFACE IMPORTED)
    set_target_properties(${target} PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES "${include_directory}"
        INTERFACE_LINK_LIBRARIES "${library}")
endfunction()

function(zn_find_with_pkgconfig target name module)
    find_package(PkgConfig QUIET)
    if(PKG_CONFIG_FOUND)
        pkg_check_modules(${name} QUIET IMPORTED_TARGET ${module})
        if(${name}_FOUND)
            add_library(${target} ALIAS PkgConfig::${name})
            set(${name}_VERSION "${${name}_VERSION}" PARENT_SCOPE)
        endif()
    endif()
endfunction()

# GoogleTest, installed or built here: test programs have to use the standard library that it was
# compiled with.
function(zn_require_googletest)
    if(NOT ZN_GOOGLETEST_SOURCE)
        zn_require(GTest::gmock GTest VERSION 1.12
            DEBIAN "libgtest-dev and libgmock-dev" HOMEBREW googletest)
        return()
    endif()
    if(NOT EXISTS ${ZN_GOOGLETEST_SOURCE}/CMakeLists.txt)
        message(FATAL_ERROR "GoogleTest's sources not found in ${ZN_GOOGLETEST_SOURCE}: "
            "install googletest (Debian)")
    endif()
    set(INSTALL_GTEST OFF)
    set(CMAKE_POLICY_DEFAULT_CMP0077 NEW)
    add_subdirectory(${ZN_GOOGLETEST_SOURCE} googletest EXCLUDE_FROM_ALL)
endfunction()

# The services and the policy store.
zn_require(spdlog::spdlog spdlog VERSION 1.10 DEBIAN libspdlog-dev HOMEBREW spdlog)
add_library(zn_spdlog INTERFACE)
if(ZN_HEADER_ONLY_SPDLOG)
    target_include_directories(zn_spdlog SYSTEM INTERFACE
        $<TARGET_PROPERTY:spdlog::spdlog,INTERFACE_INCLUDE_DIRECTORIES>)
    target_compile_definitions(zn_spdlog INTERFACE SPDLOG_FMT_EXTERNAL FMT_HEADER_ONLY)
else()
    target_link_libraries(zn_spdlog INTERFACE spdlog::spdlog)
endif()
zn_require(simdjson::simdjson simdjson VERSION 3.0 PKGCONFIG simdjson
    DEBIAN libsimdjson-dev HOMEBREW simdjson)
zn_require(OpenSSL::Crypto OpenSSL VERSION 3.0 COMPONENTS Crypto
    DEBIAN libssl-dev HOMEBREW openssl@3)
zn_require(EXPAT::EXPAT EXPAT DEBIAN libexpat1-dev HOMEBREW expat)
find_package(Threads REQUIRED)
zn_require(cdb::cdb cdb HEADER cdb.h LIBRARY cdb DEBIAN libcdb-dev HOMEBREW tinycdb)
zn_require(xxhash::xxhash xxhash HEADER xxhash.h DEBIAN libxxhash-dev HOMEBREW xxhash)
zn_require(SimpleIni::SimpleIni SimpleIni HEADER SimpleIni.h DEBIAN libsimpleini-dev)

if(ZN_TOOLS)
    zn_require(libzip::zip libzip HEADER zip.h LIBRARY zip DEBIAN libzip-dev HOMEBREW libzip)
    zn_require(CLI11::CLI11 CLI11 DEBIAN libcli11-dev HOMEBREW cli11)
endif()
if(ZN_TOOLS OR ZN_TESTS OR ZN_BENCH OR ZN_FUZZ)
    zn_require(nlohmann_json::nlohmann_json nlohmann_json
        DEBIAN nlohmann-json3-dev HOMEBREW nlohmann-json)
endif()
if(ZN_TESTS)
    zn_require_googletest()
endif()
if(ZN_BENCH)
    zn_require(benchmark::benchmark benchmark DEBIAN libbenchmark-dev HOMEBREW google-benchmark)
    zn_require(absl::strings absl DEBIAN libabsl-dev HOMEBREW abseil)
    zn_require(libbsd::libbsd libbsd PKGCONFIG libbsd DEBIAN libbsd-dev HOMEBREW libbsd)
    zn_require(libsafec::libsafec libsafec PKGCONFIG libsafec DEBIAN libsafec-dev HOMEBREW safeclib)
endif()
