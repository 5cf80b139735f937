# siptrunkctl, the operator's tool. Its two header-only libraries serve the tool alone.

find_path(RAIKLAIK_CLI11_DIR CLI/CLI.hpp)
find_path(RAIKLAIK_JSON_DIR nlohmann/json.hpp)
foreach(header IN ITEMS "CLI11_DIR|CLI11|libcli11-dev" "JSON_DIR|nlohmann-json|nlohmann-json3-dev")
    string(REPLACE "|" ";" header "${header}")
    list(POP_FRONT header variable library package)
    if(NOT RAIKLAIK_${variable})
        message(FATAL_ERROR "${library}, which siptrunkctl needs, was not found: install the Debian "
                            "package ${package} (script/bootstrap does), or build without the tool: "
                            "-DRAIKLAIK_BUILD_TOOL=OFF")
    endif()
endforeach()

# A cross build must not search the build machine's whole /usr/include, only these two folders.
set(toolHeaders "${CMAKE_CURRENT_BINARY_DIR}/tool_headers")
file(MAKE_DIRECTORY "${toolHeaders}")
file(CREATE_LINK "${RAIKLAIK_CLI11_DIR}/CLI" "${toolHeaders}/CLI" SYMBOLIC)
file(CREATE_LINK "${RAIKLAIK_JSON_DIR}/nlohmann" "${toolHeaders}/nlohmann" SYMBOLIC)

file(GLOB_RECURSE toolSources CONFIGURE_DEPENDS tools/siptrunkctl/*.cpp)
add_executable(siptrunkctl ${toolSources} src/foundation/paths.cpp)
target_include_directories(siptrunkctl SYSTEM PRIVATE "${toolHeaders}")
target_link_libraries(siptrunkctl PRIVATE raiklaik raiklaik_support)
# A flash disk holds it, and it waits for the disk and the lock, not for the processor.
target_compile_options(siptrunkctl PRIVATE $<$<CONFIG:Release>:-Os> -ffunction-sections -fdata-sections)
target_link_options(siptrunkctl PRIVATE LINKER:--gc-sections)
