# Runtimes that come from servers on loopback.
find_package(OpenSSL REQUIRED)
find_package(ZLIB REQUIRED)
target_sources(end_to_end_tests PRIVATE DownloadTests.cpp ../support/LoopbackServer.cpp)
target_link_libraries(end_to_end_tests PRIVATE kestrav_platform OpenSSL::SSL ZLIB::ZLIB)
