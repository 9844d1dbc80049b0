# What stands behind the progress window. A program of its own: it lends its standard error.
kestrav_test(progress_tests SOURCES ProgressTests.cpp LIBRARIES kestrav_platform)
