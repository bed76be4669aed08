# Sanitizers apply to everything built, so that the library and its tests agree.
if(XO_SANITIZE)
  string(REPLACE ";" "," _xo_san "${XO_SANITIZE}")
  add_compile_options(-fsanitize=${_xo_san} -fno-omit-frame-pointer -fno-sanitize-recover=all)
  add_link_options(-fsanitize=${_xo_san})
endif()
if(XO_BUILD_FUZZ)
  # Coverage for the fuzzers over the library's own code.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
