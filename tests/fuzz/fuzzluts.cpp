// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/lututils.h"
#include "tests/fuzz/fuzz.h"

/// A file of a look-up table.

void Fuzz::writeSeeds(const QString &folder)
{
    writeSeed(folder, "cube",
              "TITLE \"a\"\nLUT_1D_SIZE 4\nDOMAIN_MIN 0 0 0\nDOMAIN_MAX 1 1 1\n0 0 0\n0.3 0.3 0.3\n0.6 0.6 "
              "0.6\n1 1 1\n");
    writeSeed(folder, "columns", "0 0 0\n512\t512\t512\n1023 1023 1023\n");
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    constexpr int entries = 1024;
    static short tables[3][entries];
    std::string error;
    for (const char *name : {"input.cube", "input.txt"}) {
        const QString path = Fuzz::scratchFile(name);
        Fuzz::writeScratch(path, data, size);
        int count = 0;
        const bool read = kel::utils::LUT_Utils::parse(path.toStdString(), tables[0], tables[1], tables[2],
                                                       entries, &count, error);
        if (!read) continue;
        for (const auto &table : tables)
            for (int i = 0; i < count && i < entries; ++i)
                Fuzz::mustHold(table[i] >= 0 && table[i] <= 1023, "values of ten bits");
    }
    return 0;
}
