#pragma once

/// The whole of a start that isn't over at once, from the application object on. Returns the exit
/// status.
[[nodiscard]] int runInstance(int argc, char* argv[]);
