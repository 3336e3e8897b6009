#pragma once

/// Turns SIGINT and SIGTERM into a quit of the event loop, with status 0. Before the loop runs they
/// have no effect.
void installQuitSignals();

/// The exit status of a program whose event loop has returned this. A signal that comes while the
/// loop is about to begin ends it before it has begun: Qt calls that -1, and it is a quit like
/// others.
[[nodiscard]] int exitStatus(int loopStatus);
