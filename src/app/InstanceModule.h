#pragma once

/// Loads the module that holds the running instance, and runs it: the whole of a start that isn't
/// over at once. Returns the exit status, which is 1, with a warning, if the module is missing or
/// of another build than the program.
[[nodiscard]] int runInstanceModule(int argc, char* argv[]);
