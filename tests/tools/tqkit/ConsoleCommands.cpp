// Compiles tqkit's ConsoleCommands.cpp into this test program, so that tests can run
// its commands in-process (tests/tools/InProcess.h).
#include "tools/tqkit/commands/ConsoleCommands.cpp"
