# What trained_bench needs: a runtime with a window toolkit, made by jlink, that has no archive of its classes; the example
# with a window; and, where one is installed, a newer JDK.
set(trained_work ${CMAKE_CURRENT_BINARY_DIR}/trained)
set(catalogue ${PROJECT_SOURCE_DIR}/examples/catalogue/Catalogue.java)
add_custom_command(
  OUTPUT ${trained_work}/made
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${trained_work}
  COMMAND ${jdk_bin}/javac -d ${trained_work}/classes ${catalogue}
  COMMAND ${jdk_bin}/jar --create --file ${trained_work}/catalogue.jar --main-class com.example.catalogue.Catalogue
          -C ${trained_work}/classes .
  COMMAND ${jdk_bin}/jlink --add-modules java.desktop --output ${trained_work}/runtime
  COMMAND ${CMAKE_COMMAND} -E touch ${trained_work}/made
  DEPENDS ${catalogue}
  VERBATIM)
add_custom_target(trained_runtime DEPENDS ${trained_work}/made)

add_executable(trained_bench trained_bench.cpp)
target_include_directories(trained_bench PRIVATE ${PROJECT_SOURCE_DIR}/tests)
target_link_libraries(trained_bench PRIVATE bench_first_frame)
target_compile_definitions(trained_bench PRIVATE
  KESTRAV_START_WORK="${start_work}"
  KESTRAV_TRAINED_WORK="${trained_work}"
  KESTRAV_TOOL="$<TARGET_FILE:kestrav-bundle>")
add_dependencies(trained_bench kestrav-bundle start_image trained_runtime)
