# The settings every target of the project is built with: `target_link_libraries(x PRIVATE kestrav_settings)`.
add_library(kestrav_settings INTERFACE)
set(KESTRAV_WARNINGS -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
                                                  $<$<BOOL:${KESTRAV_WARNINGS_AS_ERRORS}>:-Werror>)
target_compile_options(kestrav_settings INTERFACE ${KESTRAV_WARNINGS})
# g++ 12 sees an overlap in every "text" + std::string that it inlines (its bug 105651), and uninitialized members in
# every alternative of a std::variant that is not the current one (its bug 80635). Clang and the sanitizers still check
# for both.
target_compile_options(kestrav_settings INTERFACE
  $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict -Wno-maybe-uninitialized>)
target_include_directories(kestrav_settings INTERFACE ${PROJECT_SOURCE_DIR}/src)
target_compile_definitions(kestrav_settings INTERFACE _FILE_OFFSET_BITS=64)

if(KESTRAV_SANITIZE)
  target_compile_options(kestrav_settings INTERFACE -fsanitize=${KESTRAV_SANITIZE} -fno-sanitize-recover=all
                                                    -fno-omit-frame-pointer)
  target_link_options(kestrav_settings INTERFACE -fsanitize=${KESTRAV_SANITIZE})
endif()
if(KESTRAV_FUZZ)
  target_compile_options(kestrav_settings INTERFACE -fsanitize=fuzzer-no-link)
endif()
