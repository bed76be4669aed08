# One warning set for every target of the project.
add_library(xo_warnings INTERFACE)
if(MSVC)
  target_compile_options(xo_warnings INTERFACE /W4 /permissive-)
else()
  target_compile_options(xo_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor)
endif()

# README's test command turns warnings into errors, so that none lands unseen.
option(XO_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
if(XO_WARNINGS_AS_ERRORS)
  if(MSVC)
    target_compile_options(xo_warnings INTERFACE /WX)
  else()
    target_compile_options(xo_warnings INTERFACE -Werror)
  endif()
endif()
