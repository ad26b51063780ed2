# quillmere_warnings(TARGET): the warnings every target of ours is built with.
function(quillmere_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
    # GCC 12 sees overlapping copies in "literal" + std::string where there are none (GCC bug 105651).
    target_compile_options(${target} PRIVATE -Wno-restrict)
    if(QUILLMERE_SANITIZE)
      # Nor does it follow the standard library's own <regex> (GCC bug 105562) and copies of vectors through the
      # sanitizers' checks.
      target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized -Wno-stringop-overread)
    endif()
  endif()
  if(QUILLMERE_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# What the application's SDK makes errors of when it builds a module, by compiler: each knows some that the other
# doesn't. That g++ doesn't only warn of a reference to a temporary is ours; clang's word for it is in the SDK's list.
set(sdk_errors unused-result unused-value unused-variable return-type shadow pessimizing-move overloaded-virtual)
set(QUILLMERE_SDK_ERRORS_Clang ${sdk_errors} unused-const-variable unused-lambda-capture return-stack-address
  backslash-newline-escape shorten-64-to-32 missing-prototypes reinterpret-base-class)
# Of constants only those of sources: with 2, which is the default, those of headers count as well.
set(QUILLMERE_SDK_ERRORS_GNU ${sdk_errors} unused-const-variable=1 return-local-addr char-subscripts conversion-null reorder
  sequence-point)
list(TRANSFORM QUILLMERE_SDK_ERRORS_Clang PREPEND -Werror=)
list(TRANSFORM QUILLMERE_SDK_ERRORS_GNU PREPEND -Werror=)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(QUILLMERE_SDK_ERRORS ${QUILLMERE_SDK_ERRORS_GNU})
else()
  set(QUILLMERE_SDK_ERRORS ${QUILLMERE_SDK_ERRORS_Clang})
endif()

if(QUILLMERE_SANITIZE)
  # The module is built without RTTI, so its objects carry no type record for the vptr check to read.
  add_compile_options(-fsanitize=${QUILLMERE_SANITIZE} -fno-sanitize=vptr -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QUILLMERE_SANITIZE})
endif()
