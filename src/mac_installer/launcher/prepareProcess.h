#pragma once

namespace kestrav {

/// Sets what the program and its options find in the process: LANG, from the user's language, and the configured
/// working directory. LANG is set in the program's own copy of the environment, which variables are read from and a
/// child inherits.
void prepareProcess();

} // namespace kestrav
