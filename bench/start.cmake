# What start_bench needs: an application image made by the JDK's own tool, whose runtime all contenders start, and a
# launch library that does nothing.
include(${PROJECT_SOURCE_DIR}/tests/support/test_libjli.cmake)

file(GLOB jpackages /usr/lib/jvm/java-17-openjdk*/bin/jpackage)
if(NOT jpackages)
  message(FATAL_ERROR "start_bench needs a JDK 17 (Debian: openjdk-17-jdk-headless)")
endif()
list(GET jpackages 0 jpackage)
cmake_path(GET jpackage PARENT_PATH jdk_bin)

set(start_work ${CMAKE_CURRENT_BINARY_DIR}/start)
set(input ${start_work}/input)
add_custom_command(
  OUTPUT ${start_work}/made
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${start_work}
  COMMAND ${jdk_bin}/javac -d ${start_work}/classes ${CMAKE_CURRENT_SOURCE_DIR}/Started.java
  COMMAND ${CMAKE_COMMAND} -E make_directory ${input}
  COMMAND ${jdk_bin}/jar --create --file ${input}/started.jar -C ${start_work}/classes .
  COMMAND ${jdk_bin}/jlink --add-modules java.base --output ${start_work}/runtime
  COMMAND ${jpackage} --type app-image --runtime-image ${start_work}/runtime --dest ${start_work} --name image
          --input ${input} --main-jar started.jar --main-class Started
  # The archive of loaded classes is valid only for the very files that it was made from.
  COMMAND ${start_work}/image/lib/runtime/bin/java -Xshare:dump -Xlog:disable
  COMMAND ${CMAKE_COMMAND} -E touch ${start_work}/made
  DEPENDS Started.java
  VERBATIM)
add_custom_target(start_image DEPENDS ${start_work}/made)

add_executable(start_bench start_bench.cpp)
target_link_libraries(start_bench PRIVATE bench_harness)
target_compile_definitions(start_bench PRIVATE
  KESTRAV_START_WORK="${start_work}"
  KESTRAV_TEMPLATE="${CMAKE_BINARY_DIR}/Launcher.app")
kestrav_use_test_jli(start_bench)
add_dependencies(start_bench launcher launcher_bundle start_image)

# The same program with a runtime that is kept.
add_executable(kept_bench kept_bench.cpp)
target_link_libraries(kept_bench PRIVATE bench_harness)
target_compile_definitions(kept_bench PRIVATE
  KESTRAV_START_WORK="${start_work}"
  KESTRAV_TOOL="$<TARGET_FILE:kestrav-bundle>")
add_dependencies(kept_bench kestrav-bundle start_image)
