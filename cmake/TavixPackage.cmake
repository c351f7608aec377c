# Two Debian packages: `tavix` runs applications, `tavix-dev` builds them. scripts/test-package.sh makes and tries them:
#
#   cmake --preset package && cmake --build --preset package && cpack --config build/package/CPackConfig.cmake -B build/package
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavix)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tavix USB maintainers <maintainers@users.noreply.example>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL tavix development)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Whatever the libraries need comes from what they are linked with; our own are found where they were built.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)

set(CPACK_DEBIAN_TAVIX_PACKAGE_NAME tavix)
set(CPACK_DEBIAN_TAVIX_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_TAVIX_PACKAGE_RECOMMENDS "udev")
set(CPACK_DEBIAN_TAVIX_PACKAGE_CONTROL_EXTRA
  "${CMAKE_CURRENT_LIST_DIR}/debian/postinst;${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
set(CPACK_DEBIAN_TAVIX_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_COMPONENT_TAVIX_DESCRIPTION
  "USB3 Vision cameras on Linux\n Libraries that find USB3 Vision cameras, give access to their features and stream\n images from them, and the command tavix. Virtual cameras take the place of real\n ones where none is plugged in.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tavix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "tavix (= ${PROJECT_VERSION}), libboost-dev (>= 1.74)")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "USB3 Vision cameras on Linux - headers\n Headers, CMake package and examples for applications that work with USB3\n Vision cameras.")

include(CPack)
