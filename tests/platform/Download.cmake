# Downloads, from servers on loopback. A program of its own: the servers and the transfers are threads, which the other
# tests' child processes could not do with.
find_package(OpenSSL REQUIRED)
set(own_sources)
if(NOT KESTRAV_GNUSTEP)
  set(own_sources URLDownloadTests.cpp linux/DownloadSupport.cpp)
endif()
kestrav_test(download_tests
  SOURCES URLDownloadContractTests.cpp ../support/LoopbackServer.cpp ${own_sources}
  LIBRARIES kestrav_platform OpenSSL::SSL)
target_compile_definitions(download_tests PRIVATE KESTRAV_TEST_BUNDLE="${CMAKE_BINARY_DIR}/Launcher.app")
if(TARGET kestrav_download_module)
  add_dependencies(download_tests kestrav_download_module)
endif()
