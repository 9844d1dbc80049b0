# The template bundle on a Mac: ${CMAKE_BINARY_DIR}/Launcher.app, which an application vendor copies, fills and signs
# anew.
set(resources ${CMAKE_CURRENT_SOURCE_DIR}/resources)
find_program(PLUTIL plutil REQUIRED)
find_program(CODESIGN codesign REQUIRED)
set(KESTRAV_SIGNING_IDENTITY "-" CACHE STRING "Who signs the bundle (codesign --sign); - is nobody")

set(KESTRAV_MAIN_NIB "" CACHE FILEPATH "The compiled interface file; empty: it is compiled by ibtool, of the whole Xcode")

set(nib ${CMAKE_CURRENT_BINARY_DIR}/MainWindow.nib)
if(KESTRAV_MAIN_NIB)
  add_custom_command(OUTPUT ${nib} COMMAND ${CMAKE_COMMAND} -E copy ${KESTRAV_MAIN_NIB} ${nib}
                     DEPENDS ${KESTRAV_MAIN_NIB} VERBATIM)
else()
  find_program(IBTOOL ibtool REQUIRED)
  add_custom_command(
    OUTPUT ${nib}
    COMMAND ${IBTOOL} --errors --warnings --notices --minimum-deployment-target ${CMAKE_OSX_DEPLOYMENT_TARGET}
            --compile ${nib} ${resources}/MainWindow.xib
    DEPENDS ${resources}/MainWindow.xib
    VERBATIM)
endif()
set_source_files_properties(${nib} ${resources}/app.icns PROPERTIES MACOSX_PACKAGE_LOCATION Resources)
set(tables)
foreach(language ar de en ja)
  set(table ${resources}/${language}.lproj/Localizable.strings)
  set_source_files_properties(${table} PROPERTIES MACOSX_PACKAGE_LOCATION Resources/${language}.lproj)
  list(APPEND tables ${table})
endforeach()

# The runtime's launch library looks `main` up and enters it again; nothing else is to be found there.
add_executable(launcher MACOSX_BUNDLE main.cpp ${nib} ${resources}/app.icns ${tables})
target_link_libraries(launcher PRIVATE kestrav_program kestrav_settings)
target_link_options(launcher PRIVATE LINKER:-exported_symbol,_main LINKER:-dead_strip)
set_target_properties(launcher PROPERTIES MACOSX_BUNDLE_INFO_PLIST ${resources}/Info.plist)

# CMake names a bundle after its executable, which is "launcher" in every bundle; so it gets its name as it is copied.
set(bundle ${CMAKE_BINARY_DIR}/Launcher.app)
# The hardened runtime. The signature must not contain the comments of the file.
set(entitlements ${CMAKE_CURRENT_BINARY_DIR}/launcher.entitlements)
add_custom_command(
  OUTPUT ${entitlements}
  COMMAND ${PLUTIL} -convert xml1 -o ${entitlements} ${resources}/launcher.entitlements
  DEPENDS ${resources}/launcher.entitlements
  VERBATIM)
add_custom_target(launcher_bundle ALL
  COMMAND ${CMAKE_COMMAND} -E rm -rf ${bundle}
  COMMAND ${CMAKE_COMMAND} -E copy_directory $<TARGET_BUNDLE_DIR:launcher> ${bundle}
  COMMAND ${CODESIGN} --force --options runtime --entitlements ${entitlements} --sign ${KESTRAV_SIGNING_IDENTITY}
          ${bundle}
  DEPENDS ${entitlements}
  VERBATIM)
add_dependencies(launcher_bundle launcher)
