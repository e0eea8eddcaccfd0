// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/commands.h"

int main(int argc, char **argv)
{
    return runCommandLine(argc, argv);
}
