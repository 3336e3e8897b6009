#pragma once

/// Sends every message of the program and of Qt to the standard error stream, one line each: the
/// number of its QtMsgType in brackets, the text, and the source position in parentheses. The
/// standard output stays empty. A critical or fatal message also goes to the worker that the
/// program was built for, as a crash report.
void installMessageHandler();
