#pragma once

/// From now on this process's connections to one port of 127.0.0.1 go to another. -1 for none.
/// A program that is started with RedirectedPort.cpp as a library before its own is told by a
/// variable instead: TARQ_TEST_REDIRECTED_PORT=FROM:TO.
void redirectPort(int from, int to);
