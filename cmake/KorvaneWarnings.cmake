# Warning flags for the project's own targets (never exported to hosts).
add_library(korvane_warnings INTERFACE)
if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
  target_compile_options(korvane_warnings INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                                                    -Wnon-virtual-dtor -Woverloaded-virtual)
  if(KORVANE_WARNINGS_AS_ERRORS)
    target_compile_options(korvane_warnings INTERFACE -Werror)
  endif()
endif()
