// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipcache.h"
#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxsharedmemory.h"
#include "platform/qmx/edges/qmxpreview.h"
#include "platform/qmx/edges/qmxscopes.h"
#include "tests/fuzz/fuzz.h"

#include <cstring>
#include <string>

#include <unistd.h>

/// Shared memory that holds anything, as the programs that read it find it. The first byte chooses whose.

namespace {

constexpr qsizetype room = qsizetype(8) << 20; // more than any of them

/// The object of a name, filled from the input.
QString fill(const char *name, const unsigned char *data, std::size_t size, qsizetype bytes)
{
    const QString path = QStringLiteral("/xpfuzz_%1_%2").arg(QLatin1String(name)).arg(getpid());
    const auto memory = QmxSharedMemory::make(path, bytes, 0600, QmxSharedMemory::Existing::Keep);
    Fuzz::mustHold(memory != nullptr, "shared memory can be had");
    std::memcpy(memory->data(), data, std::min(size, std::size_t(bytes)));
    return path;
}

} // namespace

void Fuzz::writeSeeds(const QString &folder)
{
    const QString name = QStringLiteral("/xpfuzz_seed_%1").arg(getpid());
    QmxEnvironment::current().deck->counters.publish(name);
    const auto counters = QmxSharedMemory::open(name, QmxSharedMemory::Access::Read, 1);
    writeSeed(folder, "counters",
              char(0) + QByteArray(reinterpret_cast<char *>(counters->data()), counters->size()));
    const QmxPreviewWriter preview(name + "p");
    const auto picture = QmxSharedMemory::open(name + "p", QmxSharedMemory::Access::Read, 1);
    writeSeed(folder, "preview", char(1) + QByteArray(reinterpret_cast<char *>(picture->data()), 4096));
    const QmxScopesWriter scopes(name + "s");
    const auto lights = QmxSharedMemory::open(name + "s", QmxSharedMemory::Access::Read, 1);
    writeSeed(folder, "scopes", char(2) + QByteArray(reinterpret_cast<char *>(lights->data()), 4096));
    writeSeed(folder, "string", char(3) + QByteArray("10:00:00:00").leftJustified(64, '\0'));
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
    if (size < 2) return 0;
    const int which = data[0] % 4;
    ++data, --size;
    if (which == 0) {
        QmxCountersReader reader;
        if (!reader.open(fill("counters", data, size, 8192))) return 0;
        reader.counters();
        reader.value(QStringLiteral("ticks"));
    } else if (which == 1) {
        QmxPreviewReader reader;
        QmxPreviewPicture picture;
        if (reader.open(fill("preview", data, size, room))) reader.read(picture);
    } else if (which == 2) {
        QmxScopesReader reader;
        static QmxScopes scopes;
        if (reader.open(fill("scopes", data, size, room))) reader.read(scopes);
    } else {
        std::string text;
        ShmStringReader(fill("string", data, size, 64).toStdString()).get(text);
        Fuzz::mustHold(text.size() <= 56, "no more than the segment holds");
    }
    return 0;
}
