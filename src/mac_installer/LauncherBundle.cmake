# The template bundle ${CMAKE_BINARY_DIR}/Launcher.app, which an application vendor copies and fills.
set(contents ${CMAKE_BINARY_DIR}/Launcher.app/Contents)
set(resources ${CMAKE_CURRENT_SOURCE_DIR}/resources)

# The executable. The runtime's launch library may enter `main` again through the dynamic symbol table, which holds
# nothing else: an exported C++ symbol could replace one in a library that is loaded later.
add_executable(launcher main.cpp)
set_source_files_properties(main.cpp PROPERTIES COMPILE_OPTIONS -fPIC) # else it copies, and exports, libc's variables
target_link_libraries(launcher PRIVATE kestrav_program kestrav_settings)
target_link_options(launcher PRIVATE LINKER:--export-dynamic-symbol=main)
if(NOT KESTRAV_SANITIZE) # the sanitizers' own runtime has to be exported, and finds its way to the C++ library itself
  target_link_options(launcher PRIVATE -static-libstdc++ -static-libgcc LINKER:--exclude-libs,ALL
                                       LINKER:--as-needed LINKER:--gc-sections
                                       LINKER:--version-script=${CMAKE_CURRENT_SOURCE_DIR}/launcher.exports)
endif()
set_target_properties(launcher PROPERTIES
  RUNTIME_OUTPUT_DIRECTORY ${contents}/MacOS
  BUILD_RPATH "$ORIGIN/../Frameworks"
  LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/launcher.exports)

# What lies around it. A rebuild copies only what changed.
set(bundle_files)
function(bundle_file source destination)
  add_custom_command(
    OUTPUT ${contents}/${destination}
    COMMAND ${CMAKE_COMMAND} -E copy ${source} ${contents}/${destination}
    DEPENDS ${source}
    VERBATIM)
  set(bundle_files ${bundle_files} ${contents}/${destination} PARENT_SCOPE)
endfunction()

bundle_file(${resources}/Info.plist Info.plist)
bundle_file(${resources}/MainWindow.ui Resources/MainWindow.ui)
bundle_file(${resources}/app.icns Resources/app.icns)
foreach(language ar de en ja)
  bundle_file(${resources}/${language}.lproj/Localizable.strings Resources/${language}.lproj/Localizable.strings)
endforeach()

# The shared libraries that travel with it, under the names they are looked for.
foreach(library plist-2.0 nettle)
  find_library(${library}_LIBRARY ${library} REQUIRED)
  file(REAL_PATH ${${library}_LIBRARY} file)
  execute_process(COMMAND ${CMAKE_OBJDUMP} -p ${file} OUTPUT_VARIABLE headers COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCH "SONAME +([^\n]+)" soname "${headers}")
  bundle_file(${file} Frameworks/${CMAKE_MATCH_1})
endforeach()

add_custom_target(launcher_bundle ALL DEPENDS ${bundle_files})
add_dependencies(launcher_bundle launcher)
foreach(module digest download notice window)
  if(TARGET kestrav_${module}_module)
    add_dependencies(launcher_bundle kestrav_${module}_module)
  endif()
endforeach()
