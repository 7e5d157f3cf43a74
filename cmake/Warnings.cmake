# Warnings are errors everywhere in the project's own code.
function(kv_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Werror -Wshadow -Wnon-virtual-dtor)
endfunction()
