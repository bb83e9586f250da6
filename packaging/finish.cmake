# CPack runs this between the installation of the components below CPACK_TEMPORARY_DIRECTORY and the making of their
# packages. It does what CPack leaves undone, or does in a way that lintian refuses (CPack 3.25: wrong sums in the
# packages of debug information, ldconfig called by scripts).

function(zol_run)
  execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${CPACK_TEMPORARY_DIRECTORY} OUTPUT_VARIABLE output
    COMMAND_ERROR_IS_FATAL ANY)
  set(output "${output}" PARENT_SCOPE)
endfunction()

# Policy wants manual pages and changelogs compressed as far as gzip can, and without name and time.
file(GLOB pages ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*
  ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog*)
zol_run(gzip -9n ${pages})

# Archives keep the symbols that a linker needs, and nothing of who built them.
set(unneeded --remove-section=.comment --remove-section=.note)
file(GLOB archives ${CPACK_TEMPORARY_DIRECTORY}/development/usr/lib/*/*.a)
zol_run(strip --strip-debug --enable-deterministic-archives ${unneeded} ${archives})

# zol_finish_objects(<component> <objects...>) moves the debug information of programs and shared libraries to the
# component's "_debug", where debuggers look it up by the objects' build-ids, and has dpkg-shlibdeps say what they need.
function(zol_finish_objects component)
  string(TOUPPER ${component} upper)
  foreach(object IN LISTS ARGN)
    zol_run(readelf -n ${object})
    if(NOT output MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
      message(FATAL_ERROR "${object} has no build-id.")
    endif()
    set(folder ${CPACK_TEMPORARY_DIRECTORY}/${component}_debug/usr/lib/debug/.build-id/${CMAKE_MATCH_1})
    set(debug ${folder}/${CMAKE_MATCH_2}.debug)
    file(MAKE_DIRECTORY ${folder})
    zol_run(objcopy --only-keep-debug --compress-debug-sections ${object} ${debug})
    file(CHMOD ${debug} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    zol_run(strip --strip-unneeded ${unneeded} ${object})
  endforeach()

  # dpkg-shlibdeps takes the folders of package and source from these.
  set(work ${CPACK_TEMPORARY_DIRECTORY}/${component})
  file(MAKE_DIRECTORY ${work}/debian ${work}/DEBIAN)
  file(WRITE ${work}/debian/control "")
  execute_process(
    COMMAND dpkg-shlibdeps -O -L${CPACK_ZOL_SHLIBS} -l${libraries_folder} -x${CPACK_DEBIAN_${upper}_PACKAGE_NAME} ${ARGN}
    WORKING_DIRECTORY ${work} OUTPUT_VARIABLE needed COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE ${work}/debian ${work}/DEBIAN)
  if(NOT needed MATCHES "^shlibs:Depends=([^\n]+)\n$")
    message(FATAL_ERROR "dpkg-shlibdeps printed: ${needed}")
  endif()
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()

file(GLOB libraries ${CPACK_TEMPORARY_DIRECTORY}/runtime/usr/lib/*/*.so.*.*.*)
list(GET libraries 0 library)
get_filename_component(libraries_folder ${library} DIRECTORY)
zol_finish_objects(runtime ${libraries})
file(GLOB programs ${CPACK_TEMPORARY_DIRECTORY}/tools/usr/bin/*)
zol_finish_objects(tools ${programs})
