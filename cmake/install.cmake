# The installed tree: components runtime (the library), dev (to build programs with) and tool.

include(CMakePackageConfigHelpers)
include(GNUInstallDirs)

set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/raiklaik")

install(
    TARGETS raiklaik
    EXPORT raiklaik-targets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
            COMPONENT runtime
            NAMELINK_COMPONENT dev
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT dev
    INCLUDES
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/raiklaik")
install(
    DIRECTORY include/
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/raiklaik"
    COMPONENT dev)

file(RELATIVE_PATH RAIKLAIK_PC_INCLUDEDIR "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig"
     "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
get_target_property(kind raiklaik TYPE)
if(kind STREQUAL "SHARED_LIBRARY")
    set(RAIKLAIK_PC_LIBRARY -l:raiklaik.so)
else()
    set(RAIKLAIK_PC_LIBRARY -lraiklaik)
endif()
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
    install(
        FILES schema/siptrunkctl.schema.json
        DESTINATION "${CMAKE_INSTALL_DATADIR}/siptrunkctl"
        COMPONENT tool)
    install(
        FILES completions/siptrunkctl.bash
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions"
        RENAME siptrunkctl
        COMPONENT tool)
    install(
        FILES completions/_siptrunkctl
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/site-functions"
        COMPONENT tool)
    install(
        FILES completions/siptrunkctl.fish
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d"
        COMPONENT tool)
endif()
