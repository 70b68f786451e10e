# Cross-compiles for iOS (arm64 devices, or the simulator) with clang and libc++ against the SDK at
# IOS_SDK. Works on macOS and, with Debian's clang-19, lld-19 and llvm-19, on Linux.
set(CMAKE_SYSTEM_NAME iOS)
set(CMAKE_OSX_DEPLOYMENT_TARGET 14.0)

# The SDK: KORVANE_IOS_SDK, else IOS_SDK at the first configure; remembered for later ones. The
# compiler checks run in projects of their own, which get the same variables passed on.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES KORVANE_IOS_SDK KORVANE_IOS_TARGET KORVANE_LLVM_ROOT)
if(NOT KORVANE_IOS_SDK AND DEFINED ENV{IOS_SDK})
  set(KORVANE_IOS_SDK "$ENV{IOS_SDK}" CACHE PATH "The iPhoneOS SDK directory")
endif()
if(NOT KORVANE_IOS_SDK)
  message(FATAL_ERROR "Set IOS_SDK to an iPhoneOS SDK directory.")
endif()
set(CMAKE_OSX_SYSROOT "${KORVANE_IOS_SDK}")

# The device by default; scripts/ios-build.sh builds the Simulator slice with
# KORVANE_IOS_TARGET=arm64-apple-ios14.0-simulator and the simulator SDK.
if(NOT KORVANE_IOS_TARGET AND DEFINED ENV{KORVANE_IOS_TARGET})
  set(KORVANE_IOS_TARGET "$ENV{KORVANE_IOS_TARGET}" CACHE STRING "Clang target triple")
endif()
if(NOT KORVANE_IOS_TARGET)
  set(KORVANE_IOS_TARGET arm64-apple-ios14.0)
endif()
set(_korvane_target ${KORVANE_IOS_TARGET})
string(REGEX MATCH "^[a-z0-9_]+" CMAKE_SYSTEM_PROCESSOR "${KORVANE_IOS_TARGET}")
set(CMAKE_OSX_ARCHITECTURES ${CMAKE_SYSTEM_PROCESSOR})

if(CMAKE_HOST_APPLE)
  find_program(_korvane_clang NAMES clang REQUIRED)
  find_program(_korvane_clangxx NAMES clang++ REQUIRED)
else()
  # Off macOS: Debian's LLVM 19, whose clang reads the iOS 26 SDK's headers and whose lld links
  # Mach-O. Every tool of the build comes from the same LLVM (scripts/ios-build.sh puts its bin
  # first on PATH for the checks as well).
  set(KORVANE_LLVM_ROOT "/usr/lib/llvm-19" CACHE PATH "The LLVM that builds the iOS layer off macOS")
  find_program(_korvane_clang NAMES clang PATHS "${KORVANE_LLVM_ROOT}/bin" NO_DEFAULT_PATH REQUIRED)
  find_program(_korvane_clangxx NAMES clang++ PATHS "${KORVANE_LLVM_ROOT}/bin" NO_DEFAULT_PATH
               REQUIRED)
endif()
set(CMAKE_C_COMPILER ${_korvane_clang})
set(CMAKE_CXX_COMPILER ${_korvane_clangxx})
set(CMAKE_OBJC_COMPILER ${_korvane_clang})
set(CMAKE_OBJCXX_COMPILER ${_korvane_clangxx})
foreach(lang C CXX OBJC OBJCXX)
  set(CMAKE_${lang}_COMPILER_TARGET ${_korvane_target})
endforeach()

if(NOT CMAKE_HOST_APPLE)
  # The SDK's own libc++ headers, named explicitly so that an LLVM libc++ installed on the host
  # can never take their place: they carry Apple's availability markup, so library features the
  # system libc++ of iOS 14 lacks fail the build rather than the app at launch. UIKit's headers
  # import frameworks from SubFrameworks, which Xcode's clang searches on its own.
  set(_korvane_flags "-iframework ${KORVANE_IOS_SDK}/System/Library/SubFrameworks")
  set(_korvane_cxx_flags
      "${_korvane_flags} -stdlib=libc++ -nostdinc++ -isystem ${KORVANE_IOS_SDK}/usr/include/c++/v1")
  set(CMAKE_C_FLAGS_INIT "${_korvane_flags}")
  set(CMAKE_OBJC_FLAGS_INIT "${_korvane_flags}")
  set(CMAKE_CXX_FLAGS_INIT "${_korvane_cxx_flags}")
  set(CMAKE_OBJCXX_FLAGS_INIT "${_korvane_cxx_flags}")
  # Linking sees the compile-only header flags above; they are not a problem there.
  set(_korvane_link "-fuse-ld=lld -Wno-unused-command-line-argument")
  set(CMAKE_EXE_LINKER_FLAGS_INIT "${_korvane_link}")
  set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_korvane_link}")
  set(CMAKE_MODULE_LINKER_FLAGS_INIT "${_korvane_link}")
  find_program(CMAKE_AR NAMES llvm-ar PATHS "${KORVANE_LLVM_ROOT}/bin" NO_DEFAULT_PATH REQUIRED)
  find_program(CMAKE_RANLIB NAMES llvm-ranlib PATHS "${KORVANE_LLVM_ROOT}/bin" NO_DEFAULT_PATH
               REQUIRED)
  find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool
               PATHS "${KORVANE_LLVM_ROOT}/bin" NO_DEFAULT_PATH)
endif()

set(CMAKE_FIND_ROOT_PATH "${CMAKE_OSX_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
