# What tests, benchmark and tool build with: the library's flags, and what it does not export.

add_library(raiklaik_flags INTERFACE)
target_include_directories(raiklaik_flags INTERFACE "${CMAKE_CURRENT_SOURCE_DIR}"
                                                    "${CMAKE_CURRENT_SOURCE_DIR}/include")
target_compile_definitions(raiklaik_flags INTERFACE _FILE_OFFSET_BITS=64)
target_compile_options(raiklaik_flags INTERFACE -U_TIME_BITS ${warningOptions}
                                                ${hardeningCompileOptions})
target_link_options(raiklaik_flags INTERFACE ${hardeningLinkOptions})

# One compilation serves the library and all of these.
add_library(raiklaik_objects INTERFACE)
target_sources(raiklaik_objects INTERFACE $<TARGET_OBJECTS:raiklaik>)
target_link_libraries(raiklaik_objects INTERFACE raiklaik_flags)

# The tool links the support library by itself.
add_library(raiklaik_support STATIC $<FILTER:$<TARGET_OBJECTS:raiklaik>,INCLUDE,/support/>)
set_target_properties(raiklaik_support PROPERTIES LINKER_LANGUAGE CXX)
target_link_libraries(raiklaik_support PUBLIC raiklaik_flags)
