# Target quillmere_with_libcxx: the module and its tests, but for those that need pictures, built in the folder
# QUILLMERE_WITH_LIBCXX by clang++ with libc++. There is no such target where something for that is missing.
include(ExternalProject)
find_program(QUILLMERE_CLANG NAMES clang++ clang++-14)
find_path(QUILLMERE_LIBCXX version PATHS /usr/include/c++/v1 /usr/lib/llvm-14/include/c++/v1 NO_DEFAULT_PATH)
find_path(QUILLMERE_GOOGLETEST googlemock/src/gmock-all.cc PATHS /usr/src/googletest)
set(QUILLMERE_WITH_LIBCXX ${CMAKE_BINARY_DIR}/libcxx)
if(QUILLMERE_CLANG AND QUILLMERE_LIBCXX AND QUILLMERE_GOOGLETEST)
  # Optimised a little: the standard library's <regex>, which the scans are compared with, is slow otherwise.
  ExternalProject_Add(quillmere_with_libcxx
    PREFIX ${QUILLMERE_WITH_LIBCXX}/.steps
    SOURCE_DIR ${PROJECT_SOURCE_DIR}
    BINARY_DIR ${QUILLMERE_WITH_LIBCXX}
    CMAKE_ARGS -D QUILLMERE_PICTURES=OFF -D QUILLMERE_WERROR=${QUILLMERE_WERROR}
      -D QUILLMERE_GOOGLETEST=${QUILLMERE_GOOGLETEST}
      -D CMAKE_CXX_COMPILER=${QUILLMERE_CLANG} "-DCMAKE_CXX_FLAGS=-stdlib=libc++ -O1"
    INSTALL_COMMAND ""
    BUILD_ALWAYS ON)
else()
  message(STATUS "clang++, libc++ or GoogleTest's sources are not here: the module is not tested with libc++")
endif()
