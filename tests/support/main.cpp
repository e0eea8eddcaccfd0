// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmx.h"
#include "platform/qmx/core/qmxdeck.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlog.h"
#include "tests/support/logcollector.h"
#include "tests/support/steppedclock.h"
#include "tests/support/steppeddispatcher.h"

#include <gtest/gtest.h>

#include <QCoreApplication>

namespace {

/// Each test begins and ends with the machine's own files, and has a deck that no other test has left
/// anything in.
class FreshEnvironment : public testing::EmptyTestEventListener
{
    void OnTestStart(const testing::TestInfo &) override
    {
        QmxEnvironment environment = _environment;
        environment.deck = std::make_shared<QmxDeck>();
        QmxEnvironment::setCurrent(environment);
    }
    void OnTestEnd(const testing::TestInfo &) override { QmxEnvironment::setCurrent(_environment); }

    const QmxEnvironment _environment = QmxEnvironment::current();
};

} // namespace

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    QmxEnvironment environment = QmxEnvironment::current();
    const auto clock = std::make_shared<SteppedClock>();
    environment.clock = clock;
    // The time stands still while the event loop waits for an answer, so nothing is late however long it
    // takes; this only ends the wait for a medium that hangs.
    environment.shortestMediumWait = std::chrono::seconds(2);
    QmxEnvironment::setCurrent(environment);
    QCoreApplication::setEventDispatcher(new SteppedDispatcher(clock));
    QCoreApplication application(argc, argv);
    qmxLogSetLevel(4);
    Qmx::init(1);

    testing::TestEventListeners &listeners = testing::UnitTest::GetInstance()->listeners();
    listeners.Append(new FreshEnvironment);
    listeners.Append(LogCollector::createListener());
    return RUN_ALL_TESTS();
}
