# What the tests of in-process mode need besides: a launch library and a program of their own, a Java program as a jar
# that is a module as well, and a `main` that takes the runtime from the configuration.
include(${PROJECT_SOURCE_DIR}/tests/support/test_libjli.cmake)

set(program_sources
  ${CMAKE_CURRENT_SOURCE_DIR}/java/program/module-info.java
  ${CMAKE_CURRENT_SOURCE_DIR}/java/program/org/example/program/Main.java)
set(program ${CMAKE_CURRENT_BINARY_DIR}/program.jar)
add_custom_command(
  OUTPUT ${program}
  COMMAND ${jdk}/bin/javac -d ${CMAKE_CURRENT_BINARY_DIR}/program ${program_sources}
  COMMAND ${jdk}/bin/jar --create --file ${program} --main-class org.example.program.Main
          -C ${CMAKE_CURRENT_BINARY_DIR}/program .
  DEPENDS ${program_sources}
  VERBATIM)
add_custom_target(program_jar DEPENDS ${program})

add_executable(load_main programs/load_main.cpp)
target_link_libraries(load_main PRIVATE kestrav_program kestrav_settings)

target_sources(end_to_end_tests PRIVATE InProcessTests.cpp)
target_compile_definitions(end_to_end_tests PRIVATE
  KESTRAV_PROGRAM_JAR="${program}"
  KESTRAV_LOAD_MAIN="$<TARGET_FILE:load_main>")
kestrav_use_test_jli(end_to_end_tests)
add_dependencies(end_to_end_tests program_jar load_main)
