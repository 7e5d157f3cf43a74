# The command-line programs parse their options with CLI11, which is header
# only: every translation unit that includes it compiles the whole parser.
# kv_option_parser(target parser [source...]) makes `parser` the one unit
# that may include it (configuration fails if one of the target's other
# sources, or of the sources named after it, does), compiles it for size
# (option parsing runs once a start) and lets the linker drop what the
# program never calls.
function(kv_option_parser target parser)
    get_target_property(sources ${target} SOURCES)
    foreach(s ${sources} ${ARGN})
        if(NOT s STREQUAL parser)
            file(STRINGS ${s} includes REGEX "#include <CLI/")
            if(includes)
                message(FATAL_ERROR "${s} includes CLI11: only ${parser} may, so that the "
                                    "parser is compiled once for ${target}")
            endif()
        endif()
    endforeach()
    set_source_files_properties(${parser} TARGET_DIRECTORY ${target} PROPERTIES
        COMPILE_OPTIONS "$<$<NOT:$<CONFIG:Debug>>:-Os>;-ffunction-sections;-fdata-sections")
    target_link_options(${target} PRIVATE "LINKER:--gc-sections")
endfunction()
