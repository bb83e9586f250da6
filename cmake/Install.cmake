# The CMake package zol_http and the pkg-config module of the same name.
include(CMakePackageConfigHelpers)
foreach(folder BINDIR LIBDIR INCLUDEDIR MANDIR)
  if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
    message(FATAL_ERROR "CMAKE_INSTALL_${folder} has to be relative to the prefix: what is installed finds its "
      "parts from the place where it is.")
  endif()
endforeach()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zol_http)
configure_package_config_file(cmake/zol_httpConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/zol_httpConfig.cmake
  INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/zol_httpConfigVersion.cmake
  COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/zol_httpConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/zol_httpConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)
install(EXPORT zol_http_targets NAMESPACE zol:: DESTINATION ${package_dir} COMPONENT development)
if(ZOL_STATIC_TOO AND BUILD_SHARED_LIBS)
  install(EXPORT zol_http_static_targets NAMESPACE zol:: DESTINATION ${package_dir} COMPONENT development)
endif()

# Relative, so that the module is right wherever `cmake --install --prefix` puts it.
file(RELATIVE_PATH pc_to_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(cmake/zol_http.pc.in ${CMAKE_CURRENT_BINARY_DIR}/zol_http.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/zol_http.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)
