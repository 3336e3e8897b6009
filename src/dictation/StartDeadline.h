#pragma once

#include <QtGlobal>

#include <csignal>

// While it lives, the process has eight seconds. After that it ends, with status 2 and a line on
// the standard error stream: for the one call that may never return. QAudioSource::start() waits in
// the library of the sound server, where no event loop runs and no quit is heard, and a program
// that stands still there keeps its hotkey from everybody else. One at a time; it owns SIGALRM
// meanwhile.
class StartDeadline final
{
public:
    StartDeadline();
    ~StartDeadline();
    Q_DISABLE_COPY_MOVE(StartDeadline)

private:
    struct sigaction m_previous = {};
};
