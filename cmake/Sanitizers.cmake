# ZOL_SANITIZE and ZOL_COVERAGE apply to everything that is compiled here.
if(ZOL_SANITIZE)
  add_compile_options(-fsanitize=${ZOL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZOL_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Instrumented, std::regex of GCC 12 looks to GCC as if it used uninitialized values (GCC bug 105562).
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()
if(ZOL_COVERAGE)
  # Threads count at once, and what they lost of each other would come out below zero.
  add_compile_options(--coverage -fprofile-update=atomic)
  add_link_options(--coverage)
endif()
