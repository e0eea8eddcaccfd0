// SPDX-License-Identifier: GPL-3.0-or-later
#include "xpd/config/configupdater.h"

#include "platform/store/configfactoryimpl.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"
#include "xpd/config/configinterface.h"

#include <gtest/gtest.h>

#include <mutex>
#include <sys/mman.h>

namespace {

/// Another process of the recorder: writes, and hears what the daemon writes.
class Other : public ConfigEventListener
{
public:
    Other() : _store(ConfigFactoryImpl::GetInstance()->create(GetConfigURI("udp"), "operator", false))
    {
        _store->addListener(this);
    }
    ~Other() override { _store.reset(); }
    Config *operator->() { return _store.get(); }

    using ConfigEventListener::ParamChanged;
    void ParamChanged(eParam_t id, unsigned int value, timeval) override { add(id, QString::number(value)); }
    void ParamChanged(eParam_t id, std::string value, timeval) override
    {
        add(id, QString::fromStdString(value));
    }

    /// Waits until the last of `expected` has arrived, and compares everything heard of `id`.
    void expectHeard(eParam_t id, const QStringList &expected)
    {
        Stepper::waitFor([&] { return heard(id).size() >= expected.size(); });
        EXPECT_EQ(heard(id), expected);
    }

private:
    void add(eParam_t id, const QString &value)
    {
        const std::lock_guard lock(_mutex);
        _heard[id] << value;
    }
    QStringList heard(eParam_t id)
    {
        const std::lock_guard lock(_mutex);
        return _heard[id];
    }
    std::mutex _mutex;
    std::map<eParam_t, QStringList> _heard;
    std::unique_ptr<Config> _store;
};

QString shared(const char *name)
{
    const QByteArray bytes = readAll(QStringLiteral("/dev/shm/") + QString::fromLatin1(name));
    EXPECT_EQ(bytes.size(), 64) << name;
    return QString::fromLatin1(bytes.constData());
}

} // namespace

TEST(ConfigUpdater, aValueIsWrittenOnlyWhenItDiffersFromTheLastOneWrittenOrSeen)
{
    Other other;
    ASSERT_TRUE(other->setString(eParam_CurrentClip, "loaded.mov"));
    ASSERT_TRUE(other->setUInt(eParam_CurrentPlayListIndex, 4));
    ConfigInterface config(nullptr);
    ConfigUpdater updater(&config, nullptr);
    const auto seen = [&](const QString &clip) {
        return Stepper::waitFor([&] { return config.getString(eParam_CurrentClip) == clip; });
    };

    updater.setCurrentClip(QStringLiteral("loaded.mov"));
    updater.setCurrentPlayListIndex(4);
    updater.setCurrentClip(QStringLiteral("mine.mov"));
    updater.setCurrentPlayListIndex(5);
    other.expectHeard(eParam_CurrentPlayListIndex, {"5"});
    // The other's change is in the store, but not yet told here: the last one written still counts.
    ASSERT_TRUE(other->setString(eParam_CurrentClip, "theirs.mov"));
    updater.setCurrentClip(QStringLiteral("mine.mov"));
    ASSERT_TRUE(seen(QStringLiteral("theirs.mov")));
    Stepper::deliver();
    updater.setCurrentClip(QStringLiteral("theirs.mov"));
    updater.setCurrentClip(QStringLiteral("last.mov"));
    other.expectHeard(eParam_CurrentClip, {"mine.mov", "last.mov"});
}

TEST(ConfigUpdater, useOfTheMediaIsToldFromTheFirstRealUseOn)
{
    Other other;
    ConfigInterface config(nullptr);
    ConfigUpdater updater(&config, nullptr);
    for (const bool inUse : {false, true, true, false, false, true})
        updater.setStorageInUse(inUse);
    other.expectHeard(eParam_StorageState, {"1", "2", "1"});
    EXPECT_EQ(LogCollector::lines("configupdater"),
              QStringList({"3 65 *** Storage media is now in use", "3 68 *** Storage media has been released",
                           "3 65 *** Storage media is now in use"}));
}

TEST(ConfigUpdater, timecodesStandInSharedMemory)
{
    ConfigInterface config(nullptr);
    ConfigUpdater updater(&config, nullptr);
    EXPECT_EQ(shared("xpd_currentTimecode"), QStringLiteral("--:--:--:--"));
    EXPECT_EQ(shared("xpd_inputTimecode"), QStringLiteral("--:--:--:--"));

    const QmxTimecode drop(1, 2, 3, 4, 30, 1);
    updater.setCurrentTimecode(drop);
    updater.setInputTimecode(QmxTimecode(1, 2, 3, 4, 25, 0));
    EXPECT_EQ(shared("xpd_currentTimecode"), QStringLiteral("01:02:03;04"));
    EXPECT_EQ(shared("xpd_inputTimecode"), QStringLiteral("01:02:03:04"));

    // The same again is not written: the sequence counter in the last bytes stands still.
    const QByteArray before = readAll(QStringLiteral("/dev/shm/xpd_currentTimecode"));
    updater.setCurrentTimecode(drop);
    EXPECT_EQ(readAll(QStringLiteral("/dev/shm/xpd_currentTimecode")), before);
    updater.setCurrentTimecode(QmxTimecode());
    EXPECT_EQ(shared("xpd_currentTimecode"), QStringLiteral("--:--:--:--"));
}

TEST(ConfigUpdater, aSharedStringThatCannotBeMadeIsLoggedAndTheRestWorks)
{
    // A folder stands in the way of the first one.
    ::shm_unlink("/xpd_currentTimecode"); // of a case before, in the same process
    ASSERT_EQ(::mkdir("/dev/shm/xpd_currentTimecode", 0755), 0);
    allowLog("configupdater");
    ConfigInterface config(nullptr);
    ConfigUpdater updater(&config, nullptr);
    updater.setCurrentTimecode(QmxTimecode(1, 0, 0, 0, 25, 0));
    updater.setInputTimecode(QmxTimecode(2, 0, 0, 0, 25, 0));
    EXPECT_EQ(shared("xpd_inputTimecode"), QStringLiteral("02:00:00:00"));
    EXPECT_EQ(LogCollector::lines("configupdater"),
              QStringList("2 30 FAILED: _shmStringCurrentTimecode->create(64)"));
}
