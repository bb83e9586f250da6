# ZOL_SANITIZE and ZOL_COVERAGE apply to everything that is compiled here.
if(ZOL_SANITIZE)
  add_compile_options(-fsanitize=${ZOL_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${ZOL_SANITIZE})
endif()
if(ZOL_COVERAGE)
  add_compile_options(--coverage)
  add_link_options(--coverage)
endif()
