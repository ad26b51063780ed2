# The packages: the stand-alone host as .deb and .tar.gz, the plug-in's folder as .zip.
set(CPACK_PACKAGE_NAME quillmere)
set(CPACK_PACKAGE_VENDOR "the Quillmere Renderer contributors")
set(CPACK_PACKAGE_CONTACT "${CPACK_PACKAGE_VENDOR}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "generated pictures from 3D scenes")
set(CPACK_PACKAGE_DESCRIPTION
  "Renders a guide of a glTF scene, has a picture made from it by an image-generation back end, and puts it into the frame.
The embedded back end draws in ink and wash and needs no service; ComfyUI and A1111-compatible servers are spoken to.")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_GENERATOR DEB TGZ ZIP)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS $<TARGET_FILE_DIR:quillmere_host>)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_SOURCE_DIR}/debian/postinst ${CMAKE_CURRENT_SOURCE_DIR}/debian/prerm)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What differs between the packages is decided when each is made.
configure_file(per_package.cmake.in per_package.cmake @ONLY)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_BINARY_DIR}/per_package.cmake)
include(CPack)
