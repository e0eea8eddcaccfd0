// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/fuzz/fuzz.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

/// Room ahead of a repair is most of its work here, and has tests of its own.
class FilesWithoutRoomAhead : public QmxFiles
{
public:
    int fallocate(int, int, off64_t, off64_t) override { return 0; }
};

} // namespace

void Fuzz::writeSeed(const QString &folder, const char *name, const QByteArray &bytes)
{
    QFile file(folder + QLatin1Char('/') + QLatin1String(name));
    mustHold(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "a seed can be written");
}

QString Fuzz::scratchFile(const char *name)
{
    static const QTemporaryDir dir(qEnvironmentVariable("TMPDIR", "/dev/shm") + "/xpfuzz-XXXXXX");
    return dir.filePath(QLatin1String(name));
}

void Fuzz::writeScratch(const QString &path, const unsigned char *data, std::size_t size)
{
    QFile file(path);
    mustHold(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "the scratch file can be written");
    file.write(reinterpret_cast<const char *>(data), qint64(size));
}

void Fuzz::mustHold(bool holds, const char *what)
{
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments)
{
    qmxLogSetLevel(0);
    QmxEnvironment environment = QmxEnvironment::current();
    environment.files = std::make_shared<FilesWithoutRoomAhead>();
    QmxEnvironment::setCurrent(environment);
    for (int i = 1; i < *count; ++i) {
        const QString folder = QFile::decodeName((*arguments)[i]);
        if (folder.startsWith(QLatin1Char('-')) || !QFileInfo(folder).isDir()) continue;
        if (QDir(folder).isEmpty()) Fuzz::writeSeeds(folder);
        break;
    }
    return 0;
}
