#pragma once

#include <cstdint>

/// Of macOS alone; only compiled here.
extern "C" int _NSGetExecutablePath(char *buffer, std::uint32_t *size);
