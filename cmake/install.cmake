# The installed tree: components runtime (the library), dev (to build programs with) and tool.

include(CMakePackageConfigHelpers)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/raiklaik")

install(
    TARGETS raiklaik
    EXPORT raiklaik-targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            COMPONENT runtime
            NAMELINK_COMPONENT dev
    INCLUDES
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/raiklaik")
install(
    DIRECTORY include/
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/raiklaik"
    COMPONENT dev)

file(RELATIVE_PATH RAIKLAIK_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
configure_file(cmake/raiklaik.pc.in raiklaik.pc @ONLY)
install(
    FILES "${CMAKE_CURRENT_BINARY_DIR}/raiklaik.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig"
    COMPONENT dev)

configure_package_config_file(cmake/raiklaik-config.cmake.in raiklaik-config.cmake
                              INSTALL_DESTINATION "${packageDir}")
write_basic_package_version_file(raiklaik-config-version.cmake COMPATIBILITY SameMajorVersion)
install(
    FILES "${CMAKE_CURRENT_BINARY_DIR}/raiklaik-config.cmake"
          "${CMAKE_CURRENT_BINARY_DIR}/raiklaik-config-version.cmake"
    DESTINATION "${packageDir}"
    COMPONENT dev)
install(
    EXPORT raiklaik-targets
    NAMESPACE raiklaik::
    DESTINATION "${packageDir}"
    COMPONENT dev)

if(TARGET siptrunkctl)
    file(RELATIVE_PATH binToLib "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    set_target_properties(siptrunkctl PROPERTIES INSTALL_RPATH "$ORIGIN/${binToLib}")
    install(TARGETS siptrunkctl DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
endif()
