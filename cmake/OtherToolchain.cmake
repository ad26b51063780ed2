# quillmere_other_toolchain_module(NAME FILE): target NAME makes the module as FILE from the same sources with clang++,
# libc++ and gnu++20, with the warnings of the first toolchain as errors.
function(quillmere_other_toolchain_module name file)
  get_target_property(code quillmere_module_code SOURCES)
  get_target_property(framework quillmere_sdk_framework SOURCES)
  get_target_property(framework_folder quillmere_sdk_framework SOURCE_DIR)
  list(TRANSFORM framework PREPEND ${framework_folder}/)
  list(TRANSFORM code PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  set(flags -std=gnu++20 -stdlib=libc++ -fno-exceptions -fno-rtti -fPIC -fvisibility=hidden -O1
    -Wall -Wextra -Wpedantic -Wconversion -Werror)
  set(includes -I ${CMAKE_CURRENT_SOURCE_DIR} -I ${PROJECT_SOURCE_DIR}/res -I ${framework_folder}/include
    -I ${framework_folder}/framework)
  cmake_path(GET file PARENT_PATH folder)
  set(objects "")
  foreach(source ${code} ${CMAKE_CURRENT_SOURCE_DIR}/main.cpp ${QUILLMERE_REGISTER_SOURCE} ${framework})
    string(MD5 key ${source})
    cmake_path(GET source STEM stem)
    set(object ${CMAKE_CURRENT_BINARY_DIR}/libcxx/${stem}-${key}.o)
    add_custom_command(OUTPUT ${object}
      COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_CURRENT_BINARY_DIR}/libcxx
      COMMAND ${CMAKE_CXX_COMPILER_LAUNCHER} ${QUILLMERE_CLANG} ${flags} ${includes} -MD -MF ${object}.d -c ${source} -o ${object}
      DEPENDS ${source} DEPFILE ${object}.d VERBATIM)
    list(APPEND objects ${object})
  endforeach()
  add_custom_command(OUTPUT ${file}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${folder}
    COMMAND ${QUILLMERE_CLANG} -stdlib=libc++ -shared -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exported_symbols.map
      ${objects} -o ${file}
    DEPENDS ${objects} ${CMAKE_CURRENT_SOURCE_DIR}/exported_symbols.map VERBATIM)
  add_custom_target(${name} ALL DEPENDS ${file})
endfunction()
