#pragma once

/// How many single-shot timers of that period run (QTimer::singleShot). They outlive their context
/// objects, and do nothing then. From 20 seconds up they go by whole seconds.
int runningTimers(int periodMs);
