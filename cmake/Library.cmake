# zol_add_library(<target> ALIAS <exported name> VERSION <x.y.z> OUTPUT <file stem> [MODULES <folders...>]
#   LINKS <public libraries...> [PRIVATE_LINKS <libraries that no public header shows...>])
#
# A library of the project, shared or static as BUILD_SHARED_LIBS says. Each of its modules is a folder, the calling one
# unless others are named: its sources are the .cpp files below it, its public headers the folder include/ in it. The
# first number of VERSION is the shared object's version. The calling folder's exports.map says what is not exported.
# With ZOL_STATIC_TOO, a shared library has a static twin, <target>_static, exported as zol::<exported name>_static.
function(zol_add_library target)
  cmake_parse_arguments(arg "" "ALIAS;VERSION;OUTPUT" "MODULES;LINKS;PRIVATE_LINKS" ${ARGN})
  list(TRANSFORM arg_MODULES PREPEND ${CMAKE_CURRENT_SOURCE_DIR}/)
  if(NOT arg_MODULES)
    set(arg_MODULES ${CMAKE_CURRENT_SOURCE_DIR})
  endif()

  add_library(${target})
  add_library(zol::${arg_ALIAS} ALIAS ${target})
  foreach(module IN LISTS arg_MODULES)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS ${module}/*.cpp)
    target_sources(${target} PRIVATE ${sources})
    target_include_directories(${target} PUBLIC $<BUILD_INTERFACE:${module}/include>)
  endforeach()
  target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})

  string(REGEX MATCH "^[0-9]+" soversion ${arg_VERSION})
  set_target_properties(${target} PROPERTIES
    OUTPUT_NAME ${arg_OUTPUT}
    EXPORT_NAME ${arg_ALIAS}
    VERSION ${arg_VERSION}
    SOVERSION ${soversion}
    LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/exports.map;${PROJECT_SOURCE_DIR}/cmake/shared_data.list"
    POSITION_INDEPENDENT_CODE ON # a static library may go into somebody's shared one
    INSTALL_RPATH $ORIGIN) # installed anywhere, the libraries find one another
  target_compile_features(${target} PUBLIC cxx_std_17)
  target_link_libraries(${target} PUBLIC ${arg_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
  target_compile_options(${target} PRIVATE
    $<TARGET_PROPERTY:zol_warnings,INTERFACE_COMPILE_OPTIONS>
    # A library's calls to its own functions are its own: they are not replaced from outside, so they may be inlined.
    -fno-semantic-interposition)
  # For the same reason they need not be looked up by name when a program is loaded, nor need tables and type informations,
  # of which one is as good as the other.
  target_link_options(${target} PRIVATE -Wl,--no-undefined -Wl,--as-needed -Wl,-O1 -Wl,-Bsymbolic
    -Wl,--dynamic-list=${PROJECT_SOURCE_DIR}/cmake/shared_data.list
    -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exports.map)

  if(ZOL_INSTALL)
    target_include_directories(${target} PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/zol_http>)
    install(TARGETS ${target} EXPORT zol_http_targets
      LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    foreach(module IN LISTS arg_MODULES)
      install(DIRECTORY ${module}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zol_http COMPONENT development)
    endforeach()
  endif()

  if(ZOL_STATIC_TOO AND BUILD_SHARED_LIBS)
    zol_add_static_twin(${target} ALIAS ${arg_ALIAS} OUTPUT ${arg_OUTPUT}
      LINKS ${arg_LINKS} PRIVATE_LINKS ${arg_PRIVATE_LINKS})
  endif()
endfunction()

# zol_add_static_twin(<target> ALIAS <exported name> OUTPUT <file stem>
#   LINKS <public libraries...> PRIVATE_LINKS <libraries that no public header shows...>)
#
# The objects of a shared library of the project in an archive. They need not be compiled again: both kinds are compiled
# as position-independent code with the same definitions.
function(zol_add_static_twin target)
  cmake_parse_arguments(arg "" "ALIAS;OUTPUT" "LINKS;PRIVATE_LINKS" ${ARGN})
  set(twin ${target}_static)
  add_library(${twin} STATIC $<TARGET_OBJECTS:${target}>)
  add_library(zol::${arg_ALIAS}_static ALIAS ${twin})
  set_target_properties(${twin} PROPERTIES
    LINKER_LANGUAGE CXX
    OUTPUT_NAME ${arg_OUTPUT}
    EXPORT_NAME ${arg_ALIAS}_static)
  get_target_property(folders ${target} INTERFACE_INCLUDE_DIRECTORIES)
  target_include_directories(${twin} INTERFACE ${folders})
  target_compile_features(${twin} PUBLIC cxx_std_17)
  list(TRANSFORM arg_LINKS REPLACE "^zol::(.+)$" "zol::\\1_static")
  target_link_libraries(${twin} PUBLIC ${arg_LINKS} PRIVATE ${arg_PRIVATE_LINKS})
  if(ZOL_INSTALL)
    install(TARGETS ${twin} EXPORT zol_http_static_targets
      ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
  endif()
endfunction()
