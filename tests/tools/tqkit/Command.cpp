// Compiles tqkit's Command.cpp into this test program, so that tests can run
// commands in-process (tests/tools/InProcess.h).
#include "tools/tqkit/Command.cpp"
