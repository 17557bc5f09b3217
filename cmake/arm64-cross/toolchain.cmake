# 64-bit ARM under Linux by the cross compiler that Debian ships (g++-aarch64-linux-gnu), with Debian's
# libraries for it. Programs run in qemu's emulation of the processor alone (qemu-user).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

if(NOT CMAKE_CXX_COMPILER)
  set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
endif()
# For Clang, which compiles for everything.
set(CMAKE_CXX_COMPILER_TARGET aarch64-linux-gnu)

if(NOT PARVANE_ARM64_SYSROOT)
  set(script ${CMAKE_CURRENT_LIST_DIR}/../../tools/arm64_sysroot.sh)
  execute_process(COMMAND ${script} OUTPUT_VARIABLE root OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
  if(failed)
    message(FATAL_ERROR "${script} could not get Debian's packages for arm64")
  endif()
  set(PARVANE_ARM64_SYSROOT ${root} CACHE PATH "Headers and libraries of the target")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PARVANE_ARM64_SYSROOT)
set(CMAKE_SYSROOT ${PARVANE_ARM64_SYSROOT})
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

find_program(PARVANE_QEMU qemu-aarch64)
if(PARVANE_QEMU)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${PARVANE_QEMU} -L ${CMAKE_SYSROOT})
endif()
