# The voice-quality benchmark runs side by side with speexdsp's preprocessor
# (Debian libspeexdsp-dev, denoise on) when it is installed.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(SPEEXDSP QUIET IMPORTED_TARGET speexdsp)
endif()
if(SPEEXDSP_FOUND)
  target_link_libraries(${name} PRIVATE PkgConfig::SPEEXDSP)
  target_compile_definitions(${name} PRIVATE XVOSC_HAVE_SPEEXDSP=1)
else()
  message(STATUS "speexdsp not found: bench_vqe runs without its peer")
endif()
