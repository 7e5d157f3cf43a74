# Warnings are errors everywhere in the project's own code.
function(kv_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor)
    # 32-bit ARM: gcc notes every std::map iterator passed by value that its
    # calling convention changed in gcc 7.1; everything here is built by one
    # compiler, so the note says nothing.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^arm")
        target_compile_options(${target} PRIVATE -Wno-psabi)
    endif()
endfunction()
