# The G.726 benchmark compares against spandsp's G.726 when it is installed
# (Debian libspandsp-dev).
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
  pkg_check_modules(SPANDSP QUIET IMPORTED_TARGET spandsp)
endif()
if(SPANDSP_FOUND)
  target_link_libraries(${name} PRIVATE PkgConfig::SPANDSP)
  target_compile_definitions(${name} PRIVATE XVOSC_HAVE_SPANDSP=1)
else()
  message(STATUS "spandsp not found: bench_g726 runs without its peer")
endif()
