# Warning flags for every target built from this tree (library, tests, tools,
# benchmarks). Third-party headers come in as system includes and stay quiet.
function(mirel25d_set_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(MIREL25D_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
