// The one symbol of the module that the program looks for. It carries the build in its name, so
// that a program never runs the module of another build, as a half-finished upgrade leaves it.

#include "BuildId.h"
#include "app/RunningInstance.h"

extern "C" __attribute__((visibility("default"))) int TARQ_ENTRY(int argc, char* argv[]);

int TARQ_ENTRY(int argc, char* argv[])
{
    return runInstance(argc, argv);
}
