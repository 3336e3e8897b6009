#pragma once

class CommandLine;

// Each of these exercises one service, with no windows, no sign-in and no network, logs what came
// out, and returns the status of the process.

int runSessionSmoke();
int runAmplitudeSmoke(const CommandLine& commandLine);
int runRecordingWaveSmoke(const CommandLine& commandLine);
/// 0 with the path of the recording logged, 2 if capture fails, 3 if it ends with no file.
int runAudioSmoke(const CommandLine& commandLine);
