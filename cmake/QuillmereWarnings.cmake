# quillmere_warnings(TARGET): the warnings every target of ours is built with.
function(quillmere_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in "literal" + std::string where there are none (GCC bug 105651).
    target_compile_options(${target} PRIVATE -Wno-restrict)
    if(QUILLMERE_SANITIZE)
      # Nor does it follow the standard library's own <regex> through the sanitizers' checks (GCC bug 105562).
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
    endif()
  endif()
  if(QUILLMERE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

if(QUILLMERE_SANITIZE)
  # The module is built without RTTI, so its objects carry no type record for the vptr check to read.
  add_compile_options(-fsanitize=${QUILLMERE_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUILLMERE_SANITIZE})
endif()
