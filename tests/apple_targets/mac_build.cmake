# Generates the build description for a Mac as the preset "macos" does, with stand-ins for the tools that only a Mac
# has, and checks the commands. cmake -DSOURCE=… -DFOLDER=… -DCLANG=… -P mac_build.cmake
file(REMOVE_RECURSE ${FOLDER})
function(stand_in_for)
  foreach(tool ${ARGN})
    file(WRITE ${FOLDER}/bin/${tool} "#!/bin/sh\n")
    file(CHMOD ${FOLDER}/bin/${tool} PERMISSIONS OWNER_READ OWNER_EXECUTE)
  endforeach()
endfunction()
stand_in_for(plutil codesign install_name_tool)
set(ENV{PATH} ${FOLDER}/bin:$ENV{PATH})

file(READ ${SOURCE}/CMakePresets.json presets)
string(REGEX MATCH "\"name\": \"macos\"[^{]*{[^}]*}[^{]*{[^}]*}" preset "${presets}")
string(REPLACE ";" "@" preset "${preset}") # a value may be a list
string(REGEX MATCHALL "\"[A-Z_]+\": \"[^\"]*\"" variables "${preset}")
list(TRANSFORM variables REPLACE "\"([A-Z_]+)\": \"(.*)\"" "-D\\1=\\2")
string(REPLACE "@" "\\;" variables "${variables}")

file(WRITE ${FOLDER}/libz.tbd "")
file(MAKE_DIRECTORY ${FOLDER}/MacOSX.sdk)
function(configure)
  execute_process(
    COMMAND ${CMAKE_COMMAND} -S ${SOURCE} -B ${FOLDER}/build -G Ninja ${variables} -DCMAKE_SYSTEM_NAME=Darwin
            -DCMAKE_C_COMPILER=${CLANG} -DCMAKE_C_COMPILER_FORCED=ON -DCMAKE_CXX_COMPILER=${CLANG}
            -DCMAKE_CXX_COMPILER_FORCED=ON -DCMAKE_OBJCXX_COMPILER_FORCED=ON -DCMAKE_HAVE_LIBC_PTHREAD=ON
            -DCMAKE_OSX_SYSROOT=${FOLDER}/MacOSX.sdk
            -DZLIB_LIBRARY=${FOLDER}/libz.tbd -DZLIB_INCLUDE_DIR=/usr/include ${ARGN}
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# Without ibtool, an interface file that was compiled elsewhere will do.
file(WRITE ${FOLDER}/Own.nib "")
configure(-DKESTRAV_MAIN_NIB=${FOLDER}/Own.nib)
execute_process(COMMAND ninja -C ${FOLDER}/build -n -v src/mac_installer/MainWindow.nib
                OUTPUT_VARIABLE own COMMAND_ERROR_IS_FATAL ANY)
stand_in_for(ibtool)
configure(-DKESTRAV_MAIN_NIB=)
execute_process(COMMAND ninja -C ${FOLDER}/build -n -v OUTPUT_VARIABLE commands COMMAND_ERROR_IS_FATAL ANY)
string(APPEND commands "${own}")
foreach(expected
    "-arch x86_64 -arch arm64 [^\n]*-mmacosx-version-min=10.15 [^\n]*src/mac_installer/main.cpp"
    "-exported_symbol -Xlinker _main [^\n]*launcher.app/Contents/MacOS/launcher [^\n]*-framework AppKit"
    "ibtool [^\n]*--minimum-deployment-target 10.15 --compile [^\n]*MainWindow.xib"
    "-E copy [^\n]*/Own.nib [^\n]*/MainWindow.nib"
    "launcher.app/Contents/Resources/MainWindow.nib"
    "launcher.app/Contents/Resources/app.icns"
    "launcher.app/Contents/Resources/en.lproj/Localizable.strings"
    "codesign --force --options runtime --entitlements [^\n]*launcher.entitlements --sign - [^\n]*/Launcher.app")
  if(NOT commands MATCHES "${expected}")
    message(FATAL_ERROR "Missing among the commands of the build: ${expected}")
  endif()
endforeach()
if(commands MATCHES "-Werror")
  message(FATAL_ERROR "Only the presets may take warnings for errors, not this build, which is described by hand")
endif()
if(NOT EXISTS ${FOLDER}/build/src/mac_installer/launcher.app/Contents/Info.plist)
  message(FATAL_ERROR "The bundle has no Info.plist")
endif()
