# The progress window on a display without a screen.
foreach(tool Xvfb openbox xdotool)
  find_program(KESTRAV_${tool} ${tool} REQUIRED)
endforeach()
target_sources(end_to_end_tests PRIVATE WindowTests.cpp)
