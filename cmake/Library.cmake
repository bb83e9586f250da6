# zol_add_library(<target> ALIAS <exported name> VERSION <x.y.z> OUTPUT <file stem> LINKS <public libraries...>)
#
# One shared library of the project: its sources are the .cpp files below the calling folder, its public headers the
# folder include/. The first number of VERSION is the shared object's version.
function(zol_add_library target)
  cmake_parse_arguments(arg "" "ALIAS;VERSION;OUTPUT" "LINKS" ${ARGN})
  file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
  add_library(${target} SHARED ${sources})
  add_library(zol::${arg_ALIAS} ALIAS ${target})
  string(REGEX MATCH "^[0-9]+" soversion ${arg_VERSION})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${arg_OUTPUT}
    EXPORT_NAME ${arg_ALIAS}
    VERSION ${arg_VERSION}
    SOVERSION ${soversion}
    INSTALL_RPATH $ORIGIN) # installed anywhere, the libraries find one another
  target_include_directories(${target}
    PUBLIC
      $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include>
      $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zol_http>
    PRIVATE
      ${CMAKE_CURRENT_SOURCE_DIR})
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_link_libraries(${target} PUBLIC ${arg_LINKS} PRIVATE $<BUILD_INTERFACE:zol_warnings>)
  # A library's calls to its own functions are its own: nobody replaces them from outside, so they may be inlined.
  target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  target_link_options(${target} PRIVATE -Wl,--no-undefined -Wl,--as-needed)
  install(TARGETS ${target} EXPORT zol_http_targets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
  install(DIRECTORY ${CMAKE_CURRENT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zol_http)
endfunction()
