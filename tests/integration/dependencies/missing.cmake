# missing.cmake: configures the project without one package after the other, and with packages that
# are too old and too new to be known, and checks what it says. SOURCE, BUILD and COMPILER are given.
cmake_minimum_required(VERSION 3.22)

# configure(RESULT OUTPUT OPTION...)
function(configure result output)
    execute_process(
        COMMAND ${CMAKE_COMMAND} -G Ninja -S ${SOURCE} -B ${BUILD} -D CMAKE_CXX_COMPILER=${COMPILER}
            -U "CMAKE_DISABLE_*" -U "*_DIR" -U "*_LIBRARY" -U "ZN_*" -U CMAKE_CXX_STANDARD ${ARGN}
        RESULT_VARIABLE status OUTPUT_VARIABLE text ERROR_VARIABLE text)
    string(REGEX REPLACE "[ \n]+" " " text "${text}")
    set(${result} ${status} PARENT_SCOPE)
    set(${output} "${text}" PARENT_SCOPE)
endfunction()

# expect_failure(MESSAGE OPTION...)
function(expect_failure message)
    configure(status output ${ARGN})
    string(FIND "${output}" "${message}" at)
    if(status EQUAL 0 OR at EQUAL -1)
        message(SEND_ERROR "with ${ARGN}, configuring should fail with '${message}':\n${output}")
    endif()
endfunction()

# expect_success(OPTION...)
function(expect_success)
    configure(status output ${ARGN})
    if(NOT status EQUAL 0)
        message(SEND_ERROR "with ${ARGN}, configuring should succeed:\n${output}")
    endif()
endfunction()

# A package of simdjson in BUILD/simdjson-VERSION that has nothing but its version.
function(make_simdjson version)
    file(WRITE ${BUILD}/simdjson-${version}/simdjson-config.cmake
        "add_library(simdjson::simdjson INTERFACE IMPORTED)\nset(simdjson_VERSION ${version})\n")
endfunction()

file(REMOVE_RECURSE ${BUILD})
set(without -D CMAKE_DISABLE_FIND_PACKAGE_)
expect_failure("spdlog not found: install libspdlog-dev (Debian) or spdlog (Homebrew)"
    ${without}spdlog=ON)
expect_failure("simdjson not found: install libsimdjson-dev (Debian) or simdjson (Homebrew)"
    ${without}simdjson=ON ${without}PkgConfig=ON)
expect_failure("OpenSSL not found: install libssl-dev (Debian) or openssl@3 (Homebrew)"
    ${without}OpenSSL=ON)
expect_failure("EXPAT not found: install libexpat1-dev (Debian) or expat (Homebrew)"
    ${without}EXPAT=ON)
expect_failure("cdb not found: install libcdb-dev (Debian) or tinycdb (Homebrew)"
    -D CDB_INCLUDE_DIR=)
expect_failure("cdb not found: install libcdb-dev (Debian) or tinycdb (Homebrew)" -D CDB_LIBRARY=)
expect_failure("xxhash not found: install libxxhash-dev (Debian) or xxhash (Homebrew)"
    -D XXHASH_INCLUDE_DIR=)
expect_failure("SimpleIni not found: install libsimpleini-dev (Debian)" -D SIMPLEINI_INCLUDE_DIR=)
expect_failure("libzip not found: install libzip-dev (Debian) or libzip (Homebrew)"
    -D LIBZIP_LIBRARY=)
expect_failure("CLI11 not found: install libcli11-dev (Debian) or cli11 (Homebrew)"
    ${without}CLI11=ON)
expect_failure("nlohmann_json not found: install nlohmann-json3-dev (Debian) or nlohmann-json (Homebrew)"
    ${without}nlohmann_json=ON)
expect_failure("GTest not found: install libgtest-dev and libgmock-dev (Debian) or googletest (Homebrew)"
    ${without}GTest=ON)
expect_failure("CMAKE_CXX_STANDARD is 14; 17 or later is needed" -D CMAKE_CXX_STANDARD=14)

foreach(version 2.2.0 3.0.0 3.13.0 4.6.6)
    make_simdjson(${version})
endforeach()
expect_failure("simdjson 3.0 or later not found: install libsimdjson-dev (Debian)"
    -D simdjson_DIR=${BUILD}/simdjson-2.2.0)
foreach(version 3.0.0 3.13.0 4.6.6)
    expect_success(-D simdjson_DIR=${BUILD}/simdjson-${version} )
endforeach()
# Tests, program and their packages are not needed to build the libraries.
expect_success(-D ZN_TESTS=OFF -D ZN_TOOLS=OFF -D LIBZIP_LIBRARY= ${without}CLI11=ON
    ${without}nlohmann_json=ON ${without}GTest=ON)
