#pragma once
// The command files include "Command.h"; the tqkit build finds it through its
// include path, and the test program that compiles these files in-process
// (tests/tools) finds it here, beside them.
#include "../Command.h"
