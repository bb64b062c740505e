# The real FFT benchmark runs side by side with FFTW single precision
# (Debian libfftw3-dev, library fftw3f) when it is installed.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(FFTW3F QUIET IMPORTED_TARGET fftw3f)
endif()
if(FFTW3F_FOUND)
  target_link_libraries(${name} PRIVATE PkgConfig::FFTW3F)
  target_compile_definitions(${name} PRIVATE XVOSC_HAVE_FFTW=1)
else()
  message(STATUS "fftw3f not found: bench_fft runs without its peer")
endif()
