# What stands behind the progress window. A program of its own: it lends its standard error.
kestrav_test(progress_tests SOURCES ProgressTests.cpp LIBRARIES kestrav_platform)
target_compile_definitions(progress_tests PRIVATE KESTRAV_TEST_BUNDLE="${CMAKE_BINARY_DIR}/Launcher.app")
add_dependencies(progress_tests launcher_bundle)
