# What the tests of in-process mode need besides: a launch library of their own, and a `main` that takes the runtime from
# the configuration.
include(${PROJECT_SOURCE_DIR}/tests/support/test_libjli.cmake)

add_executable(load_main programs/load_main.cpp)
target_link_libraries(load_main PRIVATE kestrav_program kestrav_settings)

target_sources(end_to_end_tests PRIVATE InProcessTests.cpp)
target_compile_definitions(end_to_end_tests PRIVATE
  KESTRAV_LOAD_MAIN="$<TARGET_FILE:load_main>")
kestrav_use_test_jli(end_to_end_tests)
add_dependencies(end_to_end_tests load_main)
