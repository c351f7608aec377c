# What `cmake --install` puts where, and the package config that a stranger's project finds:
#
#   find_package(tavix 4.0 REQUIRED)
#   target_link_libraries(app PRIVATE tavix::tavixbase)
#
# tavix::tavixusb is there for <tavix/usb/VandrelUsbDeviceInfo.h>: it links the transport layer itself.
include(CMakePackageConfigHelpers)

# Applications go on with a library of the same major version; only who builds them needs the names without it.
set_target_properties(camera core gcbase genapi imaging tavixbase vexlo PROPERTIES
  VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
install(TARGETS camera core gcbase genapi imaging tavixbase vexlo
  EXPORT tavix
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT development)
# Loaded at run time: the transport layer lies beside the library whose factory looks for it, the virtual camera beside
# the one that loads it and is never linked against.
install(TARGETS tavixusb EXPORT tavix LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS virtualcam_backend LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
# Consumers of GenTL take every producer of a folder, so ours has one of its own; GENICAM_GENTL64_PATH names it.
install(TARGETS gentl LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tavix-gentl)
if(TARGET gsttavix)
  install(TARGETS gsttavix LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/gstreamer-1.0 COMPONENT gstreamer)
endif()
install(TARGETS tavix_tool RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${TAVIX_INSTALL_INCLUDEDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.cpp" PATTERN "*.h" PATTERN "*.py")
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} PATTERN Doxyfile EXCLUDE)

install(EXPORT tavix NAMESPACE tavix:: FILE tavixTargets.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavix COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/tavixConfig.cmake.in ${PROJECT_BINARY_DIR}/tavixConfig.cmake
  INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavix)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/tavixConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/tavixConfig.cmake ${PROJECT_BINARY_DIR}/tavixConfigVersion.cmake
  DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/tavix COMPONENT development)
