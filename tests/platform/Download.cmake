# Downloads, from servers on loopback. A program of its own: the servers and the transfers are threads, which the other
# tests' child processes could not do with.
find_package(OpenSSL REQUIRED)
kestrav_test(download_tests
  SOURCES URLDownloadTests.cpp ../support/LoopbackServer.cpp
  LIBRARIES kestrav_platform OpenSSL::SSL)
target_compile_definitions(download_tests PRIVATE KESTRAV_TEST_BUNDLE="${CMAKE_BINARY_DIR}/Launcher.app")
add_dependencies(download_tests kestrav_download_module)
