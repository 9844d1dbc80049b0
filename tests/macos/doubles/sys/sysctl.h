#pragma once

// The one call of <sys/sysctl.h> that macOS has and Linux has not; the double of the platform's services answers it.

#include <stddef.h>

extern "C" int sysctlbyname(const char *name, void *value, size_t *size, void *newValue, size_t newSize);
