# The warnings every target of the project is compiled with.
add_library(zol_warnings INTERFACE)
target_compile_options(zol_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion $<$<BOOL:${ZOL_WERROR}>:-Werror>)
