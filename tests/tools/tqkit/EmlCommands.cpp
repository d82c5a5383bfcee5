// Compiles tqkit's EmlCommands.cpp into this test program, so that tests can run
// its commands in-process (tests/tools/InProcess.h).
#include "tools/tqkit/commands/EmlCommands.cpp"
