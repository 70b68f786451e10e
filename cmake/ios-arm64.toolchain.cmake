# Cross-compiles for iOS (arm64 devices, or the simulator) with clang and libc++ against the SDK at
# IOS_SDK. Works on macOS and, with clang, lld and libc++ headers installed, on Linux.
set(CMAKE_SYSTEM_NAME iOS)
set(CMAKE_OSX_DEPLOYMENT_TARGET 14.0)

# The SDK comes from IOS_SDK at the first configure and is remembered for later ones.
if(DEFINED ENV{IOS_SDK})
  set(KORVANE_IOS_SDK "$ENV{IOS_SDK}" CACHE PATH "The iPhoneOS SDK directory")
endif()
if(NOT KORVANE_IOS_SDK)
  message(FATAL_ERROR "Set IOS_SDK to an iPhoneOS SDK directory.")
endif()
set(CMAKE_OSX_SYSROOT "${KORVANE_IOS_SDK}")

# The device by default; the XCFramework script builds the simulator slices with
# KORVANE_IOS_TARGET=arm64-apple-ios14.0-simulator (or x86_64-...) and the simulator SDK.
if(DEFINED ENV{KORVANE_IOS_TARGET})
  set(KORVANE_IOS_TARGET "$ENV{KORVANE_IOS_TARGET}" CACHE STRING "Clang target triple")
endif()
if(NOT KORVANE_IOS_TARGET)
  set(KORVANE_IOS_TARGET arm64-apple-ios14.0)
endif()
set(_korvane_target ${KORVANE_IOS_TARGET})
string(REGEX MATCH "^[a-z0-9_]+" CMAKE_SYSTEM_PROCESSOR "${KORVANE_IOS_TARGET}")
set(CMAKE_OSX_ARCHITECTURES ${CMAKE_SYSTEM_PROCESSOR})

find_program(_korvane_clang NAMES clang clang-14 REQUIRED)
find_program(_korvane_clangxx NAMES clang++ clang++-14 REQUIRED)
set(CMAKE_C_COMPILER ${_korvane_clang})
set(CMAKE_CXX_COMPILER ${_korvane_clangxx})
set(CMAKE_OBJC_COMPILER ${_korvane_clang})
set(CMAKE_OBJCXX_COMPILER ${_korvane_clangxx})
foreach(lang C CXX OBJC OBJCXX)
  set(CMAKE_${lang}_COMPILER_TARGET ${_korvane_target})
endforeach()

if(NOT CMAKE_HOST_APPLE)
  # Off macOS: lld links Mach-O, and libc++'s headers come from the host's LLVM. The host's libc++
  # is configured for Linux, where Apple's availability markup is off; a copy of its site
  # configuration with the markup on makes the compiler refuse library features that the system
  # libc++ of iOS 14 does not have.
  set(KORVANE_HOST_LIBCXX_INCLUDE "/usr/lib/llvm-14/include/c++/v1" CACHE PATH "libc++ headers")
  set(_korvane_site_dir "${CMAKE_BINARY_DIR}/libcxx-apple-site")
  if(NOT EXISTS "${_korvane_site_dir}/__config_site")
    file(READ "${KORVANE_HOST_LIBCXX_INCLUDE}/__config_site" _korvane_site)
    string(REPLACE "#define _LIBCPP_HAS_NO_VENDOR_AVAILABILITY_ANNOTATIONS" "" _korvane_site
                   "${_korvane_site}")
    file(WRITE "${_korvane_site_dir}/__config_site" "${_korvane_site}")
  endif()
  set(_korvane_flags
      "-stdlib=libc++ -nostdinc++ -isystem ${_korvane_site_dir} -isystem ${KORVANE_HOST_LIBCXX_INCLUDE}")
  set(CMAKE_CXX_FLAGS_INIT "${_korvane_flags}")
  set(CMAKE_OBJCXX_FLAGS_INIT "${_korvane_flags}")
  # Linking sees the compile-only header flags above; they are not a problem there.
  set(_korvane_link "-fuse-ld=lld -Wno-unused-command-line-argument")
  set(CMAKE_EXE_LINKER_FLAGS_INIT "${_korvane_link}")
  set(CMAKE_SHARED_LINKER_FLAGS_INIT "${_korvane_link}")
  set(CMAKE_MODULE_LINKER_FLAGS_INIT "${_korvane_link}")
  find_program(CMAKE_AR NAMES llvm-ar llvm-ar-14 REQUIRED)
  find_program(CMAKE_RANLIB NAMES llvm-ranlib llvm-ranlib-14 REQUIRED)
  find_program(CMAKE_INSTALL_NAME_TOOL NAMES llvm-install-name-tool llvm-install-name-tool-14)
endif()

set(CMAKE_FIND_ROOT_PATH "${CMAKE_OSX_SYSROOT}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
