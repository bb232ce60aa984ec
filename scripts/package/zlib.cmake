# Builds the parts of Chromium's zlib that libpng needs, as Chromium does: only the files that
# use newer instructions are compiled for them, and the code is chosen at run time. zlib's own
# CMakeLists.txt compiles everything for SSE 4.2 and does not support ARM.
cmake_minimum_required(VERSION 3.25)
project(zlib LANGUAGES C)

add_library(z STATIC
  adler32.c adler32_simd.c compress.c contrib/optimizations/inffast_chunk.c contrib/optimizations/inflate.c
  cpu_features.c crc32.c crc32_simd.c deflate.c infback.c inftrees.c trees.c uncompr.c zutil.c)
target_include_directories(z PRIVATE .)
target_compile_options(z PRIVATE -w)
# Without this definition the output depends on the processor. Screenshots gain neither size
# nor speed from the variant that it disables.
target_compile_definitions(z PRIVATE CHROMIUM_ZLIB_NO_CASTAGNOLI)

if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  target_sources(z PRIVATE crc_folding.c)
  target_compile_definitions(z PRIVATE X86_NOT_WINDOWS ADLER32_SIMD_SSSE3 CRC32_SIMD_SSE42_PCLMUL
    DEFLATE_SLIDE_HASH_SSE2 INFLATE_CHUNK_SIMD_SSE2 INFLATE_CHUNK_READ_64LE)
  set_source_files_properties(adler32_simd.c PROPERTIES COMPILE_OPTIONS -mssse3)
  set_source_files_properties(crc32_simd.c crc_folding.c PROPERTIES COMPILE_OPTIONS "-msse4.2;-mpclmul")
else()
  target_compile_definitions(z PRIVATE ARMV8_OS_LINUX ADLER32_SIMD_NEON CRC32_ARMV8_CRC32 DEFLATE_SLIDE_HASH_NEON
    INFLATE_CHUNK_SIMD_NEON INFLATE_CHUNK_READ_64LE)
endif()

install(TARGETS z ARCHIVE DESTINATION lib)
install(FILES zlib.h zconf.h chromeconf.h DESTINATION include)
