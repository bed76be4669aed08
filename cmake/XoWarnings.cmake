# One warning set for every target of the project.
add_library(xo_warnings INTERFACE)
if(MSVC)
  target_compile_options(xo_warnings INTERFACE /W4 /permissive-)
else()
  target_compile_options(xo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
endif()
