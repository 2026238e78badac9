# arbtree_warnings: linked privately to the project's own targets, never to anything that a consumer builds.
add_library(arbtree_warnings INTERFACE)
target_compile_options(arbtree_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wcast-qual -Wformat=2 -Wundef -Wvla
  $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes;-Wmissing-prototypes>
  $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast;-Wnon-virtual-dtor;-Woverloaded-virtual;-Wextra-semi>
  $<$<BOOL:${ARBTREE_WARNINGS_AS_ERRORS}>:-Werror>)
