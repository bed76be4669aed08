# XO_DEBUG_CHECKS turns on the invariant checks kept off the release hot paths
# (platform/check.h): in debug builds, and in every sanitizer or fuzz build whatever its
# type. Defined for every target, so that tests know which checks they can reach.
if(XO_SANITIZE OR XO_BUILD_FUZZ)
  add_compile_definitions(XO_DEBUG_CHECKS)
else()
  add_compile_definitions($<$<CONFIG:Debug>:XO_DEBUG_CHECKS>)
endif()
