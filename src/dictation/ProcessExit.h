#pragma once

/// Ends the process on the spot, with this status. For a signal handler too.
[[noreturn]] void exitAtOnce(int status);

/// Lets the process end at the end of main, with its status and all that it has printed, before any
/// static object is destroyed that exists at the first call. Qt Multimedia's takes the connection
/// to PulseAudio apart while PulseAudio's own thread still works on it, which ended a process in
/// some hundred by a crash, or never.
void skipStaticDestructors();
