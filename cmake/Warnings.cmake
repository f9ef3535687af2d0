# tavix_set_warnings(target): the project's warning set, errors when TAVIX_WERROR is on.
function(tavix_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor
                                           -Wold-style-cast -Wcast-align -Woverloaded-virtual
                                           -Wnull-dereference -Wimplicit-fallthrough)
  if(TAVIX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
