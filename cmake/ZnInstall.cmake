# What an installation has besides the libraries and the program: the headers, and descriptions of
# the libraries for find_package and for pkg-config. All paths are relative, so that an installed
# tree can be moved. Components are named after the Debian packages (ZnPackages.cmake).
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/ZnPolicy)
install(DIRECTORY framework/ bounded/ BaseAPI/ZnConfigFormat/ZnPolicy/include/
    DESTINATION ${headers} COMPONENT libznpolicy-dev FILES_MATCHING PATTERN "*.h")
install(FILES store/PolicyStore.h DESTINATION ${headers} COMPONENT libznpolicy-dev)

set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ZnPolicy)
install(EXPORT ZnPolicyTargets NAMESPACE ZnPolicy:: FILE ZnPolicyConfig.cmake
    DESTINATION ${package} COMPONENT libznpolicy-dev)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZnPolicyConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZnPolicyConfigVersion.cmake
    DESTINATION ${package} COMPONENT libznpolicy-dev)

# zn_install_pkgconfig(MODULE LIBRARY DESCRIPTION)
function(zn_install_pkgconfig module library description)
    set(directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    file(RELATIVE_PATH to_prefix /${directory} /)
    string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
    configure_file(${PROJECT_SOURCE_DIR}/cmake/pkgconfig.pc.in ${PROJECT_BINARY_DIR}/${module}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${module}.pc
        DESTINATION ${directory} COMPONENT libznpolicy-dev)
endfunction()

zn_install_pkgconfig(znpolicy ZnPolicy
    "Reads session policies and installs virtual-channel plugin packages")
zn_install_pkgconfig(znpolicy-store ZnPolicyStore "Publishes session policies")
