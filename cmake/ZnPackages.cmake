# The Debian packages: what they contain on top of an installation, and their descriptions. Built by
# scripts/package.
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)
set(packages libznpolicy1 znpolicy-services1 libznpolicy-dev znpolicy znpolicy-doc)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL ${packages})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${debian}/prepare.cmake)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_CONTACT "libZnPolicy maintainers <maintainers@znpolicy.invalid>")
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")  # programs work with later versions as well
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# zn_debian_package(NAME SECTION SUMMARY DESCRIPTION [DEPENDS text] [SUGGESTS text]
#                   [ARCH architecture] [OVERRIDES file...])
macro(zn_debian_package name section summary description)
    cmake_parse_arguments(PACKAGE "" "DEPENDS;SUGGESTS;ARCH" "OVERRIDES" ${ARGN})
    string(TOUPPER ${name} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
    # The summary is the first line of the field.
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${description}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${PACKAGE_DEPENDS}")
    set(CPACK_DEBIAN_${upper}_PACKAGE_SUGGESTS "${PACKAGE_SUGGESTS}")
    if(PACKAGE_ARCH)
        set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE ${PACKAGE_ARCH})
    endif()
    install(FILES ${debian}/changelog RENAME changelog.Debian
        DESTINATION share/doc/${name} COMPONENT ${name})
    install(FILES ${debian}/copyright DESTINATION share/doc/${name} COMPONENT ${name})
    set(overrides ${PROJECT_BINARY_DIR}/${name}.lintian-overrides)
    execute_process(COMMAND cat ${debian}/lintian-overrides ${PACKAGE_OVERRIDES} OUTPUT_FILE ${overrides}
        WORKING_DIRECTORY ${debian} COMMAND_ERROR_IS_FATAL ANY)
    install(FILES ${overrides} RENAME ${name} DESTINATION share/lintian/overrides COMPONENT ${name})
endmacro()

set(same "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
zn_debian_package(libznpolicy1 libs "session policies and plugin packages: libraries"
"libZnPolicy reads the policies of sessions of a remote desktop and installs
virtual-channel plugin packages. libZnPolicyStore publishes policies.
The services that they call are in znpolicy-services1, or come with a product."
    DEPENDS "znpolicy-services1 ${same}, unzip" OVERRIDES library.lintian-overrides)
zn_debian_package(znpolicy-services1 libs "session policies and plugin packages: default services"
"The default libraries behind libZnPolicy: logging, policies, INI files, files,
JSON, digests and the process directory. A product may replace each of them."
    OVERRIDES library.lintian-overrides znpolicy-services1.lintian-overrides)
zn_debian_package(libznpolicy-dev libdevel "session policies and plugin packages: development files"
"Headers, CMake package and pkg-config files for programs that use libZnPolicy,
libZnPolicyStore or the default services."
    DEPENDS "libznpolicy1 ${same}, znpolicy-services1 ${same}" SUGGESTS znpolicy-doc)
zn_debian_package(znpolicy admin "session policies and plugin packages: command-line program"
"znpolicy publishes and checks policies, shows what sessions make of them, and
builds, checks, installs and rolls back plugin packages."
    DEPENDS "libznpolicy1 ${same}, znpolicy-services1 ${same}, unzip" SUGGESTS znpolicy-doc)
zn_debian_package(znpolicy-doc doc "session policies and plugin packages: documentation"
"Manuals for administrators, package authors and programmers, the reference of
the programming interface, and examples."
    ARCH all)

foreach(library libznpolicy1 znpolicy-services1)
    string(TOUPPER ${library} upper)
    set(CPACK_DEBIAN_${upper}_PACKAGE_CONTROL_EXTRA ${debian}/triggers)
endforeach()

# scripts/docs has made the site before.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/build/docs/html
    DESTINATION share/doc/znpolicy-doc COMPONENT znpolicy-doc)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples
    DESTINATION share/doc/znpolicy-doc COMPONENT znpolicy-doc)

include(CPack)
