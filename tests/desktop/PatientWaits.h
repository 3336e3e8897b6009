#pragma once

// While it lives, what waits for a tool without running the event loop does so ten times as long as
// it asked for, so that a tool which answers is heard on a busy machine too. One that hangs is
// still given up. How long the program really waits is looked at by other tests.
class PatientWaits final
{
public:
    PatientWaits();
    ~PatientWaits();
    PatientWaits(const PatientWaits&) = delete;
    PatientWaits& operator=(const PatientWaits&) = delete;
};
