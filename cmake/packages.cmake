# The Debian packages: raiklaik1 (the library), raiklaik-dev (to build programs with) and siptrunkctl.
# script/package builds them, each architecture with a preset of its own.

if(NOT CPACK_DEBIAN_PACKAGE_ARCHITECTURE)
    return()
endif()

set(RAIKLAIK_MAINTAINER
    "raiklaik developers <developers@raiklaik.invalid>"
    CACHE STRING "Name and address to which users of the packages write, \"Name <address>\"")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME raiklaik)
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_PACKAGE_CONTACT "${RAIKLAIK_MAINTAINER}")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENTS_ALL runtime dev tool)

# CPack 3.25 has no variable for Multi-Arch, so it goes in on the line after the section.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME raiklaik1)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION "libs\nMulti-Arch: same")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION
    "SIP trunk configuration of a telephony device
The library that reads and writes the trunk database of the device and
the flag that starts its trunk service, for all programs that configure
SIP trunks or run them.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME raiklaik-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION "libdevel\nMulti-Arch: same")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "raiklaik1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "SIP trunk configuration of a telephony device (development files)
Headers, pkg-config and CMake packages, a manual page, documentation
and examples, to build programs with raiklaik1.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME siptrunkctl)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION "admin\nMulti-Arch: foreign")
# The page siptrunkdb(5) was in raiklaik-dev before.
set(CPACK_DEBIAN_TOOL_PACKAGE_BREAKS "raiklaik-dev (<< 1.1.0)")
set(CPACK_DEBIAN_TOOL_PACKAGE_REPLACES "raiklaik-dev (<< 1.1.0)")
set(CPACK_DEBIAN_TOOL_DESCRIPTION
    "operator's tool for the SIP trunks of a telephony device
Shows and changes trunks, registrations and agents, checks, exports and
imports the trunk database, and prints JSON for scripts.")

# The versions that the binaries were linked with are the least that will do. CPack can ask
# dpkg-shlibdeps, but that does not know the libraries of a cross build by their names.
set(from ":${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}")
if(CMAKE_CROSSCOMPILING)
    set(from "-${CPACK_DEBIAN_PACKAGE_ARCHITECTURE}-cross")
endif()
foreach(library IN ITEMS libc6 libgcc-s1 libstdc++6)
    execute_process(COMMAND dpkg-query --show --showformat=\${Version} ${library}${from}
                    OUTPUT_VARIABLE version COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "-.*" "" version "${version}")
    list(APPEND libraries "${library} (>= ${version})")
endforeach()
list(JOIN libraries ", " CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS
    "raiklaik1 (>= ${PROJECT_VERSION}), ${CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS}")

# The entries of this version in CHANGELOG.md, in Debian's form.
set(made "${PROJECT_BINARY_DIR}/packaging")
file(READ CHANGELOG.md changes)
string(REGEX MATCH "\n## ${PROJECT_VERSION}, [-0-9]+\n[^#]*" changes "${changes}")
string(REGEX MATCH "\n- .*[^\n]" changes "${changes}")
string(REPLACE "\n  " " " changes "${changes}")
string(REPLACE "\n- " "\n  * " changes "${changes}")
file(WRITE "${made}/changes" "${changes}")
execute_process(COMMAND fmt --split-only --width=76 "${made}/changes" COMMAND sed "s/^  [^*]/  &/"
                OUTPUT_VARIABLE changes COMMAND_ERROR_IS_FATAL ANY)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${made}/changelog"
     "raiklaik (${PROJECT_VERSION}) unstable; urgency=medium\n${changes}\n"
     " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
execute_process(COMMAND gzip -9nf "${made}/changelog" COMMAND_ERROR_IS_FATAL ANY)

# ldconfig passes the library over, but Debian's rules want to see it called.
file(WRITE "${made}/shlibs" "raiklaik 1 raiklaik1 (>= ${PROJECT_VERSION})\n")
file(WRITE "${made}/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${made}/shlibs" "${made}/triggers")

install(
    DIRECTORY examples docs
    DESTINATION share/doc/raiklaik-dev
    COMPONENT dev FILES_MATCHING
    PATTERN *.cpp
    PATTERN *.md)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
    string(TOUPPER ${component} upper)
    install(
        FILES "${made}/changelog.gz"
        DESTINATION "share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}"
        COMPONENT ${component})
    install(
        FILES LICENSE
        DESTINATION "share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}"
        RENAME copyright
        COMPONENT ${component})
    # Debian wants manual pages compressed, and has another folder for the completions of zsh.
    install(
        CODE [[
            set(share "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share")
            file(GLOB pages "${share}/man/man*/*.[1-9]")
            if(pages)
                execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
            endif()
            if(EXISTS "${share}/zsh/site-functions")
                file(RENAME "${share}/zsh/site-functions" "${share}/zsh/vendor-completions")
            endif()
]]
        COMPONENT ${component})
endforeach()

include(CPack)
