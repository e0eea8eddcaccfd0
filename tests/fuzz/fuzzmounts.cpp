// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/mediad/mounttable.h"
#include "tests/fuzz/fuzz.h"

/// The text of /proc/self/mountinfo.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "table",
              "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/sda1 rw\n"
              "31 30 8:17 / /media/My\\040Disk rw,noatime master:2 - exfat /dev/sdb1 rw,uid=0\n");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    for (const Mount &mount : parseMountTable(Fuzz::text(data, size), "/media")) {
        Fuzz::mustHold(mount.path.starts_with("/media/"), "only media");
        mediumLabel(mount, "/nonexistent");
    }
    return 0;
}
