# The manual pages, where scdoc is there to make them.

find_program(RAIKLAIK_SCDOC scdoc)
if(NOT RAIKLAIK_SCDOC)
    message(STATUS "The manual pages are left out: scdoc (Debian package scdoc) was not found")
    return()
endif()

function(raiklaik_add_page page section component)
    set(source "${CMAKE_CURRENT_SOURCE_DIR}/man/${page}.${section}.scd")
    set(made "${CMAKE_CURRENT_BINARY_DIR}/man/${page}.${section}")
    add_custom_command(
        OUTPUT "${made}"
        # scdoc switches hyphenation off before .TH, which switches it on again, and makes hyphens of
        # the dashes, at which lines may end.
        COMMAND "${RAIKLAIK_SCDOC}" < "${source}" | sed -e "/^[.]TH /a .nh" -e
                "/^[.]/!s/-/\\\\-/g" > "${made}"
        DEPENDS "${source}"
        COMMENT "Making the manual page ${page}(${section})"
        VERBATIM)
    set_property(GLOBAL APPEND PROPERTY RAIKLAIK_PAGES "${made}")
    install(
        FILES "${made}"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}"
        COMPONENT ${component})
endfunction()

file(MAKE_DIRECTORY "${CMAKE_CURRENT_BINARY_DIR}/man")
raiklaik_add_page(raiklaik 3 dev)
if(TARGET siptrunkctl)
    raiklaik_add_page(siptrunkctl 1 tool)
    raiklaik_add_page(siptrunkdb 5 tool)
else()
    raiklaik_add_page(siptrunkdb 5 dev)
endif()
get_property(pages GLOBAL PROPERTY RAIKLAIK_PAGES)
add_custom_target(raiklaik_pages ALL DEPENDS ${pages})
