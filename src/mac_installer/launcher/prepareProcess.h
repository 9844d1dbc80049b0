#pragma once

namespace kestrav {

/// Makes of this process what the program and its options find: LANG is set from the user's language, and the working
/// directory is the configured one. A child inherits both; in process only the copy of the environment is changed that
/// variables are read from.
void prepareProcess();

} // namespace kestrav
