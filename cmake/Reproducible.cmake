# What is built from one commit is the same wherever it is built.

# Neither the texts of __FILE__ nor debug information name the folders of this machine: a source is ./src/... instead, as
# a debugger started in the project's folder finds it. Compilers take the last prefix that fits. They may know a folder
# by its path without symbolic links, and a compiler cache may hand them a path relative to the build folder. gcov, in
# contrast, has to find the folders again.
if(NOT ZOL_COVERAGE)
  file(REAL_PATH ${PROJECT_SOURCE_DIR} real_source)
  file(REAL_PATH ${CMAKE_BINARY_DIR} real_build)
  file(RELATIVE_PATH relative_source ${CMAKE_BINARY_DIR} ${PROJECT_SOURCE_DIR})
  set(folders ${PROJECT_SOURCE_DIR} ${real_source} ${CMAKE_BINARY_DIR} ${real_build})
  if(relative_source MATCHES "^(\\.\\.(/.*[^/])?)/*$")
    list(APPEND folders ${CMAKE_MATCH_1})
  endif()
  list(REMOVE_DUPLICATES folders)
  list(TRANSFORM folders PREPEND -ffile-prefix-map=)
  list(TRANSFORM folders APPEND =.)
  add_compile_options(${folders})
endif()

# Programs in the build folder find the libraries there by a relative path; an absolute one leaves its length behind in
# the installed file.
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

# Archives without the time, the user and the permissions of the build; some builds of ar put them in unless told.
set(CMAKE_CXX_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
set(CMAKE_CXX_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")
