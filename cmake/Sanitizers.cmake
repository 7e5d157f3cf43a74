# KV_SANITIZE="address,undefined" or "thread" instruments every target.
if(KV_SANITIZE)
    add_compile_options(-fsanitize=${KV_SANITIZE} -fno-omit-frame-pointer -g)
    if(KV_SANITIZE MATCHES "undefined")
        add_compile_options(-fno-sanitize-recover=all)
    endif()
    add_link_options(-fsanitize=${KV_SANITIZE})
endif()
