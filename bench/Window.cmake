# From a start to the first frame of the progress window.
find_package(PkgConfig REQUIRED)
pkg_check_modules(BENCH_GTK REQUIRED IMPORTED_TARGET gtk4)
pkg_check_modules(BENCH_X11 REQUIRED IMPORTED_TARGET x11 xdamage)
find_program(KESTRAV_Xvfb Xvfb REQUIRED)

add_library(bench_first_frame STATIC FirstFrame.cpp)
target_link_libraries(bench_first_frame PUBLIC bench_harness PRIVATE PkgConfig::BENCH_X11)

add_executable(window_bare window_bare.cpp)
target_link_libraries(window_bare PRIVATE kestrav_settings PkgConfig::BENCH_GTK)

# The stand-in for Java behind the window, shared with the tests.
configure_file(${PROJECT_SOURCE_DIR}/tests/end_to_end/programs/fake_java . COPYONLY)
add_executable(window_bench window_bench.cpp)
target_include_directories(window_bench PRIVATE ${PROJECT_SOURCE_DIR}/tests ${PROJECT_SOURCE_DIR}/tests/end_to_end)
target_link_libraries(window_bench PRIVATE bench_first_frame kestrav_platform)
target_compile_definitions(window_bench PRIVATE
  KESTRAV_TEMPLATE="${CMAKE_BINARY_DIR}/Launcher.app"
  KESTRAV_FAKE_JAVA="${CMAKE_CURRENT_BINARY_DIR}/fake_java"
  KESTRAV_FAKE_UNPACK200=""
  KESTRAV_WINDOW_BARE="$<TARGET_FILE:window_bare>")
add_dependencies(window_bench launcher launcher_bundle window_bare)
