# kestrav_cocoa: what the sources of src/platform/macos are compiled against and linked to. On a Mac, its frameworks.
# Elsewhere (KESTRAV_GNUSTEP), GNUstep and the doubles of tests/macos for what it lacks; that build is only for tests.
set(CMAKE_OBJCXX_COMPILER ${CMAKE_CXX_COMPILER})
enable_language(OBJCXX)
set(CMAKE_OBJCXX_STANDARD ${CMAKE_CXX_STANDARD})
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_VISIBILITY_PRESET hidden)

add_library(kestrav_cocoa INTERFACE)
if(APPLE)
  target_link_libraries(kestrav_cocoa INTERFACE "-framework AppKit" "-framework Foundation" "-framework CoreFoundation")
  return()
endif()

find_program(GNUSTEP_CONFIG gnustep-config REQUIRED)
execute_process(COMMAND ${GNUSTEP_CONFIG} --objc-flags OUTPUT_VARIABLE flags COMMAND_ERROR_IS_FATAL ANY)
separate_arguments(flags UNIX_COMMAND "${flags}")
list(FILTER flags INCLUDE REGEX "^-(D|fexceptions|fobjc|fconstant)")
target_compile_options(kestrav_cocoa INTERFACE "$<$<COMPILE_LANGUAGE:OBJCXX>:${flags};-fobjc-runtime=gcc;-fblocks>")

# The headers of the Objective-C runtime are in the folder of g++'s own headers.
file(GLOB runtime_headers /usr/lib/gcc/*/*/include/objc)
if(NOT runtime_headers)
  message(FATAL_ERROR "The headers of the Objective-C runtime are missing (Debian: gobjc)")
endif()
list(GET runtime_headers 0 runtime_headers)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/objc)
file(CREATE_LINK ${runtime_headers} ${CMAKE_BINARY_DIR}/objc/objc SYMBOLIC)
find_path(GNUSTEP_INCLUDE AppKit/AppKit.h PATHS /usr/include/GNUstep REQUIRED)
target_include_directories(kestrav_cocoa SYSTEM INTERFACE
  ${PROJECT_SOURCE_DIR}/tests/macos/doubles ${GNUSTEP_INCLUDE} ${CMAKE_BINARY_DIR}/objc)
target_link_libraries(kestrav_cocoa INTERFACE gnustep-gui gnustep-base objc)
