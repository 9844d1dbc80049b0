# Libraries that stand in for a runtime's launch library, never sanitized, because the real ones are not ours. Each is
# in a folder of its own, because its name has to be libjli.so.
include_guard(GLOBAL)

foreach(variant COMPLETE WITHOUT_LAUNCH WITHOUT_MEM_FREE)
  add_library(test_jli_${variant} SHARED ${CMAKE_CURRENT_LIST_DIR}/test_libjli.cpp)
  target_compile_options(test_jli_${variant} PRIVATE -Wall -Wextra -Werror -fvisibility=default)
  target_compile_definitions(test_jli_${variant} PRIVATE TEST_JLI_${variant})
  target_link_options(test_jli_${variant} PRIVATE LINKER:--as-needed)
  set_target_properties(test_jli_${variant} PROPERTIES
    OUTPUT_NAME jli
    LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests/libjli/${variant})
endforeach()

# kestrav_use_test_jli(TARGET): the target finds the libraries as KESTRAV_TEST_JLI "/VARIANT/libjli.so".
function(kestrav_use_test_jli target)
  target_compile_definitions(${target} PRIVATE KESTRAV_TEST_JLI="${CMAKE_BINARY_DIR}/tests/libjli")
  add_dependencies(${target} test_jli_COMPLETE test_jli_WITHOUT_LAUNCH test_jli_WITHOUT_MEM_FREE)
endfunction()
