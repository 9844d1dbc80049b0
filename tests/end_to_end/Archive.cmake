# Runtimes that travel with the application.
find_package(ZLIB REQUIRED)
target_sources(end_to_end_tests PRIVATE ArchiveTests.cpp)
target_link_libraries(end_to_end_tests PRIVATE ZLIB::ZLIB)
