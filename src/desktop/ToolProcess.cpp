#include "desktop/ToolProcess.h"

#include <QProcess>

void endTool(QProcess& tool)
{
    tool.kill();
    tool.waitForFinished();
}
