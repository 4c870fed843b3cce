# Compiler settings for every target built from this tree (library, tests,
# tools, benchmarks), each behind a compiler check so that GCC, Clang and MSVC
# get the flags they understand. All of them are PRIVATE: nothing here reaches
# a program that links the installed library.

# Warnings; third-party headers come in as system includes and stay quiet.
# Also applies the floating-point model below, which our own code assumes.
function(mirel25d_set_warnings target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /permissive-)
    if(MIREL25D_WERROR)
      target_compile_options(${target} PRIVATE /WX)
    endif()
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -Wall -Wextra)
    if(MIREL25D_WERROR)
      target_compile_options(${target} PRIVATE -Werror)
    endif()
  endif()
  mirel25d_set_fp_model(${target})
endfunction()

# The predicates' error bounds assume that every double operation rounds on its
# own: no contraction of a multiply and an add into one fused operation, no
# fast-math reordering. The inline filters are compiled into many units, so the
# whole target gets this model.
function(mirel25d_set_fp_model target)
  if(MSVC)
    target_compile_options(${target} PRIVATE /fp:precise /fp:contract-)
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -ffp-contract=off -fno-fast-math)
  endif()
endfunction()

# The unit whose interval stage switches the rounding mode must not let the
# compiler assume round-to-nearest.
function(mirel25d_set_rounding_math source)
  if(MSVC)
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "/fp:strict")
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "-frounding-math")
  endif()
endfunction()

# Sanitizer builds (MIREL25D_SANITIZE, e.g. address,undefined or thread).
function(mirel25d_enable_sanitizers sanitizers)
  if(MSVC)
    # MSVC has AddressSanitizer only.
    add_compile_options(/fsanitize=${sanitizers})
  elseif(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    # Stop at the first finding instead of reporting and carrying on.
    add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${sanitizers})
  else()
    message(WARNING "Mirel25D: sanitizers are not set up for ${CMAKE_CXX_COMPILER_ID}")
  endif()
endfunction()
