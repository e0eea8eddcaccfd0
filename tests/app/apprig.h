// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxid.h"
#include "platform/qmx/core/qmximagelut.h"
#include "platform/store/config.h"
#include "tests/support/faultyfiles.h"
#include "tests/support/logcollector.h"
#include "tests/support/print.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"
#include "xpd/app/mainobject.h"
#include "xpd/transport/vtrobject.h"

#include <gtest/gtest.h>

#include <memory>

/// The whole daemon in the test's process, on virtual time, with this test as the operator: it writes into
/// the store as another client, and reads what the daemon tells.
class AppRig : public ::testing::Test
{
protected:
    AppRig();
    ~AppRig() override;

    /// Makes the application on the medium /media/A and lets it find its input.
    void begin();
    /// Ends it in order, as at the end of the program.
    void quit();

    VtrObject &vtr();
    /// Writes a transport command and lets it arrive.
    void command(unsigned value);
    /// Writes any parameter and lets it arrive.
    void write(eParam_t param, const QString &value);
    /// Runs until the transport has nothing in progress and stands in this mode.
    bool settles(VtrMode::Value mode);
    /// From the command to the end of a take of about `ms`; the name of its clip.
    QString record(int ms);
    bool endRecord();

    unsigned number(eParam_t param);
    QString text(eParam_t param);
    QByteArray data(eParam_t param);
    /// Waits until the store holds this.
    bool reads(eParam_t param, unsigned value);
    bool reads(eParam_t param, const QString &value);
    bool shows(eParam_t alarm, const char *text);
    bool isClear(eParam_t alarm);
    /// Waits until a line of the source that holds `text` has been logged since the last command or write.
    bool logs(const char *source, const QString &text);
    /// The source's lines since the last command or write.
    QStringList lines(const char *source) const;

    TestDir dir;
    std::shared_ptr<FaultyFiles> files = FaultyFiles::install();
    std::unique_ptr<Config> store;
    std::unique_ptr<MainObject> app;

private:
    qsizetype _mark = 0;
};
