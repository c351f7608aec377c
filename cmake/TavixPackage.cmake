# Debian packages: `tavix` runs applications, `tavix-dev` builds them; `gstreamer1.0-tavix` and `python3-tavix` are the
# doors from GStreamer and Python where those could be built. scripts/test-package.sh makes and tries them:
#
#   cmake --preset package && cmake --build --preset package && cpack --config build/package/CPackConfig.cmake -B build/package
set(TAVIX_DEBIAN ${CMAKE_CURRENT_LIST_DIR}/debian)
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tavix)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT "Tavix USB maintainers <maintainers@users.noreply.example>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL tavix development)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)

# Whatever the libraries need comes from what they are linked with; our own are found where they were built.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/lib)

# What packages of applications depend on. CPack could make the file, but for the plug-in's name.
configure_file(${TAVIX_DEBIAN}/shlibs.in ${PROJECT_BINARY_DIR}/debian/shlibs @ONLY)

# The same symbol by symbol, from the lists that the tests compare; no package is made of libraries that show other ones.
get_property(libraries GLOBAL PROPERTY TAVIX_LINKED)
foreach(library IN LISTS libraries)
  get_target_property(list ${library} TAVIX_EXPORTS)
  list(APPEND lists ${list})
  list(APPEND pairs $<TARGET_FILE:${library}> ${list})
endforeach()
set(symbols ${PROJECT_BINARY_DIR}/debian/symbols)
add_custom_command(OUTPUT ${symbols}
  COMMAND ${PROJECT_SOURCE_DIR}/scripts/exports.sh symbols ${PROJECT_VERSION} ${pairs} > ${symbols}
  DEPENDS ${libraries} ${lists} ${PROJECT_SOURCE_DIR}/scripts/exports.sh
  VERBATIM)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(always ALL)
endif()
add_custom_target(debian_symbols ${always} DEPENDS ${symbols})

set(CPACK_DEBIAN_TAVIX_PACKAGE_NAME tavix)
set(CPACK_DEBIAN_TAVIX_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_TAVIX_PACKAGE_RECOMMENDS "udev")
set(CPACK_DEBIAN_TAVIX_PACKAGE_CONTROL_EXTRA
  "${TAVIX_DEBIAN}/conffiles;${TAVIX_DEBIAN}/postinst;${TAVIX_DEBIAN}/postrm;${TAVIX_DEBIAN}/triggers;${PROJECT_BINARY_DIR}/debian/shlibs;${symbols}")
set(CPACK_DEBIAN_TAVIX_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_TAVIX_DESCRIPTION
"USB3 Vision cameras on Linux
Libraries that find USB3 Vision cameras, give access to their features and
stream images from them, and the command tavix. Virtual cameras take the
place of real ones where none is plugged in.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME tavix-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "tavix (= ${PROJECT_VERSION}), libboost-dev (>= 1.74)")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
"USB3 Vision cameras on Linux - headers
Headers, CMake package and examples for applications that work with USB3
Vision cameras.")

if(TARGET gsttavix)
  list(APPEND CPACK_COMPONENTS_ALL gstreamer)
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-tavix)
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS "tavix (= ${PROJECT_VERSION})")
  set(CPACK_DEBIAN_GSTREAMER_DESCRIPTION
"USB3 Vision cameras on Linux - GStreamer plug-in
The element tavixsrc, which brings the images of USB3 Vision cameras into
GStreamer pipelines without a copy, and a device provider for them.")
endif()

if(TARGET python_module)
  list(APPEND CPACK_COMPONENTS_ALL python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-tavix)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "tavix (= ${PROJECT_VERSION}), python3 (>= ${TAVIX_PYTHON_VERSION}~), python3 (<< ${TAVIX_NEXT_PYTHON}), python3-numpy")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${TAVIX_DEBIAN}/python3/postinst;${TAVIX_DEBIAN}/python3/prerm")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_STRICT_PERMISSION ON)
  set(CPACK_DEBIAN_PYTHON_DESCRIPTION
"USB3 Vision cameras on Linux - Python
The package tavix for Python: cameras opened by name, features as attributes,
images as NumPy arrays without a copy.")
endif()

# Debian wants to read in each package who may do what with it, and what changed.
set(changelog ${PROJECT_BINARY_DIR}/debian/changelog.gz)
execute_process(COMMAND gzip -9nc ${TAVIX_DEBIAN}/changelog OUTPUT_FILE ${changelog} COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${TAVIX_DEBIAN}/changelog)
install(FILES ${TAVIX_DEBIAN}/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavix)
install(FILES ${TAVIX_DEBIAN}/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavix-dev
  COMPONENT development)
if(TARGET gsttavix)
  install(FILES ${TAVIX_DEBIAN}/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/gstreamer1.0-tavix
    COMPONENT gstreamer)
endif()
if(TARGET python_module)
  install(FILES ${TAVIX_DEBIAN}/copyright ${changelog} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/python3-tavix
    COMPONENT python)
endif()
install(FILES ${TAVIX_DEBIAN}/lintian-overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME tavix)

# Where GenTL programs learn of the producer: from shells, and from what systemd starts for a user. Only a system-wide
# installation may write there.
set(TAVIX_GENTL_FOLDER /usr/${CMAKE_INSTALL_LIBDIR}/tavix-gentl)
configure_file(${TAVIX_DEBIAN}/tavix-gentl.sh.in ${PROJECT_BINARY_DIR}/debian/tavix-gentl.sh @ONLY)
file(READ ${PROJECT_BINARY_DIR}/debian/tavix-gentl.sh TAVIX_GENTL_SCRIPT)
configure_file(${TAVIX_DEBIAN}/tavix-gentl-generator.in ${PROJECT_BINARY_DIR}/debian/60-tavix-gentl @ONLY)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  install(FILES ${PROJECT_BINARY_DIR}/debian/tavix-gentl.sh DESTINATION /etc/profile.d)
  install(PROGRAMS ${PROJECT_BINARY_DIR}/debian/60-tavix-gentl DESTINATION lib/systemd/user-environment-generators)
endif()

include(CPack)
