# Compiles through ccache when it is installed, so a rebuild of unchanged sources costs a lookup.
# Paths under the source tree are rewritten relative to the build directory and the build directory
# is not hashed: a clone in another folder hits what any other clone on the machine compiled.
# A launcher set by the caller (CMAKE_<LANG>_COMPILER_LAUNCHER) is left as it is.
option(KORVANE_CCACHE "Compile through ccache when it is installed" ON)
if(KORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER AND NOT CMAKE_C_COMPILER_LAUNCHER)
  find_program(KORVANE_CCACHE_PROGRAM ccache)
  if(KORVANE_CCACHE_PROGRAM)
    set(_korvane_launcher "${CMAKE_COMMAND}" -E env "CCACHE_BASEDIR=${PROJECT_SOURCE_DIR}"
                          CCACHE_NOHASHDIR=1 "${KORVANE_CCACHE_PROGRAM}")
    set(CMAKE_C_COMPILER_LAUNCHER ${_korvane_launcher})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${_korvane_launcher})
    set(CMAKE_OBJC_COMPILER_LAUNCHER ${_korvane_launcher})
    set(CMAKE_OBJCXX_COMPILER_LAUNCHER ${_korvane_launcher})
  endif()
endif()
