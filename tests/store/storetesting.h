// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/store/configfactoryimpl.h"
#include "tests/support/stepper.h"
#include "tests/support/testfiles.h"

#include <QByteArray>
#include <QStringList>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

/// Hears everything and keeps it.
class RecordingListener : public ConfigEventListener
{
public:
    using Seen = std::pair<eParam_t, std::string>;
    using ConfigEventListener::ParamChanged;

    void ParamChanged(eParam_t id, unsigned value, timeval) override { note(id, std::to_string(value)); }
    void ParamChanged(eParam_t id, std::string value, timeval) override { note(id, value); }
    bool DataChanged(eParam_t id, std::string &value, timeval) override
    {
        note(id, value);
        return true;
    }

    std::vector<Seen> seen() const
    {
        const std::lock_guard lock(_mutex);
        return _seen;
    }
    /// Values of one parameter.
    std::vector<std::string> values(eParam_t id) const
    {
        std::vector<std::string> found;
        for (const Seen &entry : seen())
            if (entry.first == id) found.push_back(entry.second);
        return found;
    }
    bool waitForLast(eParam_t id, const std::string &value) const
    {
        return Stepper::waitFor([&] {
            const auto all = values(id);
            return !all.empty() && all.back() == value;
        });
    }

private:
    void note(eParam_t id, const std::string &value)
    {
        const std::lock_guard lock(_mutex);
        _seen.emplace_back(id, value);
    }
    mutable std::mutex _mutex;
    std::vector<Seen> _seen;
};

inline std::unique_ptr<Config> openStore(const std::string &uri, const std::string &client = "operator",
                                         bool queued = false)
{
    return std::unique_ptr<Config>(ConfigFactoryImpl::GetInstance()->create(uri, client, queued));
}

inline unsigned numberOf(Config &config, eParam_t id)
{
    unsigned value = 0xDEAD;
    config.getUInt(id, value);
    return value;
}

inline std::string textOf(Config &config, eParam_t id)
{
    std::string value = "untouched";
    config.getString(id, value);
    return value;
}

/// The alarm that the store has been restored is up, and since when is known.
bool isToldRestored(Config &config);

/// The worker program in a process of its own.
class Worker
{
public:
    explicit Worker(const QStringList &arguments);
    ~Worker();
    /// Lines so far, after waiting until `enough` says so.
    bool waitForLines(qsizetype count);
    /// Until this is the last line.
    bool waitForLine(const QString &last);
    bool waitForEnd();
    QStringList lines();
    void kill() { _process.kill(), _process.waitForFinished(); }
    qint64 pid() const { return _process.processId(); }
    int status() const { return _process.exitCode(); }

private:
    ChildProcess _process;
    QByteArray _output;
};
