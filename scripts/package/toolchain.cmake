# Selects clang and lld for one of our two architectures. The caller sets
# CMAKE_SYSTEM_PROCESSOR and CMAKE_SYSROOT. The flags apply to the codecs and to the modules.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES CMAKE_SYSTEM_PROCESSOR CMAKE_SYSROOT)
set(CMAKE_SYSTEM_NAME Linux)
set(triplet ${CMAKE_SYSTEM_PROCESSOR}-linux-gnu)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET ${triplet})
set(CMAKE_CXX_COMPILER_TARGET ${triplet})
set(CMAKE_LIBRARY_ARCHITECTURE ${triplet})

set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(flags "-fvisibility=hidden -ffunction-sections -fdata-sections")
# The codecs are the only code in C. They report errors with longjmp, and no exception passes through
# them, so they need no tables for unwinding.
set(CMAKE_C_FLAGS_INIT "${flags} -fno-unwind-tables -fno-asynchronous-unwind-tables")
set(CMAKE_CXX_FLAGS_INIT "${flags}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-fuse-ld=lld")
# Folding merges the large tables that three files of libjpeg-turbo have copies of.
set(CMAKE_MODULE_LINKER_FLAGS_INIT
  "-fuse-ld=lld -static-libstdc++ -static-libgcc -Wl,--gc-sections -Wl,--icf=safe -Wl,--as-needed -Wl,--strip-all")

set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})
set(ENV{PKG_CONFIG_LIBDIR}
  ${CMAKE_SYSROOT}/usr/lib/pkgconfig:${CMAKE_SYSROOT}/usr/lib/${triplet}/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
