// SPDX-License-Identifier: GPL-3.0-or-later
// Where a further recorder of the machine is.
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsharedmemory.h"

#include <QDir>

#include <gtest/gtest.h>

#include <unistd.h>

TEST(Channel, hasAllPlacesOfTheFirstOneInItsOwnFolders)
{
    const QmxPlaces first = QmxPlaces::ofChannel(1);
    const QmxPlaces second = QmxPlaces::ofChannel(2);
    EXPECT_EQ(first.counters, QStringLiteral("/xpd_counters"));
    EXPECT_EQ(second.counters, QStringLiteral("/dev/shm/xp-channels/2/xpd_counters"));
    EXPECT_EQ(second.clipList, second.memory + "/NewCacheSharedClipCache");
    EXPECT_EQ(second.recorderLock, QStringLiteral("/run/xp/channels/2/lock/xpd.lock"));
    EXPECT_EQ(second.stills, first.stills);
    for (const QString &path : {first.state + "/store.db", first.run, first.media + "/A/x.mov", first.profile,
                                first.mediaLock, first.memory + "/x", QStringLiteral("/home/x.mov")}) {
        EXPECT_EQ(first.here(path), path);
        const QString here = second.here(path);
        EXPECT_EQ(here == path, path.startsWith("/home")) << qPrintable(path);
        EXPECT_EQ(second.here(here), here) << "mapped twice";
        EXPECT_EQ(second.within(here), path);
    }
    EXPECT_EQ(second.here("/mediaroom/x"), QStringLiteral("/mediaroom/x"));
    for (const char *none : {"", "0", "65", "-1", "02", "+2", "2 ", "1e1", "two"})
        EXPECT_FALSE(QmxPlaces::channelNamed(none)) << none;
    QString problem;
    EXPECT_FALSE(QmxChannel::parseList("1,64", problem));
    EXPECT_TRUE(problem.contains("no channel 64")) << qPrintable(problem);
    EXPECT_EQ(QmxChannel::parseList("1,1", problem = {}), QList<int>{1});
}

TEST(Channel, sharesMemoryUnderAFolder)
{
    const QString folder = QStringLiteral("/dev/shm/xp-test-%1").arg(getpid());
    QDir().mkpath(folder);
    const QString name = folder + "/segment";
    using Memory = QmxSharedMemory;
    {
        const auto made = Memory::make(name, 8192, 0600, Memory::Existing::Replace, 4096);
        ASSERT_TRUE(made);
        made->data()[5] = 7;
        const auto seen = Memory::open(name, Memory::Access::Read, 8192);
        ASSERT_TRUE(seen);
        EXPECT_EQ(seen->data()[5], 7);
    }
    ASSERT_EQ(::symlink(qPrintable(name), qPrintable(folder + "/link")), 0);
    EXPECT_FALSE(Memory::open(folder + "/link", Memory::Access::Read, 1)) << "a link is never followed";
    EXPECT_EQ(Memory::removeName(name), 0);
    EXPECT_FALSE(Memory::open(name, Memory::Access::Read, 1));
    QDir(folder).removeRecursively();
}
