// The entry point on Linux, whose command lines are UTF-8 already.
#include "tools/halcyra-reg/reg_commands.h"

int main(int argc, char** argv) { return RegTool::RunRegTool(RegTool::Arguments(argv + 1, argv + argc)); }
