# The applications that kestrav-bundle makes, and what `cmake --install` and `cpack` make.
target_sources(end_to_end_tests PRIVATE Tool.cpp ToolRefusalTests.cpp ToolTests.cpp)
target_link_libraries(end_to_end_tests PRIVATE kestrav_platform)
target_compile_definitions(end_to_end_tests PRIVATE KESTRAV_TOOL="$<TARGET_FILE:kestrav-bundle>")
add_dependencies(end_to_end_tests kestrav-bundle)
if(NOT KESTRAV_SANITIZE) # what is installed is never sanitized
  add_test(NAME Install.ApplicationIsMadeFromEveryPackage
           COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/installed ${CMAKE_BINARY_DIR} ${jdk} ${program})
  set_tests_properties(Install.ApplicationIsMadeFromEveryPackage PROPERTIES
    TIMEOUT 300 ENVIRONMENT "CMAKE=${CMAKE_COMMAND};CPACK=${CMAKE_CPACK_COMMAND}")
endif()
