#pragma once

/// Turns SIGINT and SIGTERM into a quit of the event loop, with status 0. Before the loop runs they
/// have no effect.
void installQuitSignals();
