# Allocation-failure tests of the transform layer: the same vqe objects
# linked against a test build of xvocore (XVOCORE_FAULT_INJECTION) whose
# xvoMalloc fails on demand and counts live blocks.
add_library(xvocore_faults STATIC ${PROJECT_SOURCE_DIR}/xvocore/xvocore.cpp)
target_include_directories(xvocore_faults PUBLIC ${PROJECT_SOURCE_DIR}/xvocore)
target_compile_definitions(xvocore_faults PUBLIC XVOCORE_FAULT_INJECTION)
target_link_libraries(xvocore_faults PUBLIC OpenMP::OpenMP_CXX)

add_executable(test_vqe_faults ${CMAKE_CURRENT_SOURCE_DIR}/vqe/fft_fault_test.cpp)
target_compile_definitions(test_vqe_faults PRIVATE XVO_FFT_FAULT_TEST)
target_link_libraries(test_vqe_faults PRIVATE xvosc_core xvosc_vqe xvocore_faults xvosc_testsupport GTest::gtest_main)
gtest_discover_tests(test_vqe_faults DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES LABELS vqe)

# The level controller's reference transcription evaluates its float
# expressions exactly as written, like the library's own object.
set_source_files_properties(${CMAKE_CURRENT_SOURCE_DIR}/vqe/alc_model_test.cpp PROPERTIES COMPILE_OPTIONS -ffp-contract=off)
