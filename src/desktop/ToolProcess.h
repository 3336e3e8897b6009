#pragma once

class QProcess;

/// Kills the tool if it still runs, and returns when it is gone. Without that a QProcess that dies
/// complains in the log.
void endTool(QProcess& tool);
