// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/lumenprofile.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/core/qmxloglevel.h"

#include <QStringList>

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace {
constexpr const char *logSource = "lumen";
constexpr qint64 maximumFileSize = 1024 * 1024;
constexpr int maximumWorkers = 64;
constexpr int maximumComplaints = 10; ///< single lines complained of

/// A whole number in a range.
bool parseNumber(const QString &text, int from, int to, int &number)
{
    bool ok = false;
    const int value = text.toInt(&ok);
    if (!ok || value < from || value > to) return false;
    number = value;
    return true;
}

bool parseReference(LumenProfile &profile, const QString &value)
{
    if (value == QLatin1String("locked"))
        profile.reference = QmxVideoRefState(true, true);
    else if (value == QLatin1String("present"))
        profile.reference = QmxVideoRefState(true, false);
    else if (value == QLatin1String("missing"))
        profile.reference = QmxVideoRefState(false, false);
    else
        return false;
    return true;
}

/// The event loop's library takes the value; here it only has to make sense.
bool parseClock(LumenProfile &, const QString &value)
{
    if (value == QLatin1String("real")) return true;
    bool ok = false;
    return value.startsWith(QLatin1String("fast:")) && value.mid(5).toDouble(&ok) > 0 && ok;
}

bool parseWorkers(LumenProfile &profile, const QString &value)
{
    return parseNumber(value, 1, maximumWorkers, profile.workers);
}

bool parseChannels(LumenProfile &profile, const QString &value)
{
    return parseNumber(value, 8, 16, profile.wideChannels) && profile.wideChannels % 8 == 0;
}

bool parseBacklog(LumenProfile &profile, const QString &value)
{
    return parseNumber(value, 32, 1024 * 1024, profile.backlogMegabytes);
}

bool parseProResCoder(LumenProfile &profile, const QString &value)
{
    profile.libavProRes = value == QLatin1String("libav");
    return profile.libavProRes || value == QLatin1String("own");
}

struct DeviceRow
{
    const char *key;
    const char *values;
    bool (*parse)(LumenProfile &profile, const QString &value);
};

constexpr DeviceRow deviceRows[] = {
    {"clock", "real or fast:N", parseClock},
    {"reference", "locked, present or missing", parseReference},
    {"prores_coder", "own or libav", parseProResCoder},
    {"workers", "a number from 1 to 64", parseWorkers},
    {"audio_channels", "8 or 16", parseChannels},
    {"backlog_megabytes", "a number from 32 on", parseBacklog},
};

/// Empty: the line is good; else what to do about it.
QString parseDevice(LumenProfile &profile, const QString &key, const QString &value)
{
    QStringList keys;
    for (const DeviceRow &row : deviceRows) {
        keys.append(QLatin1String(row.key));
        if (key != keys.last()) continue;
        if (row.parse(profile, value)) return {};
        return QStringLiteral("%1 takes %2").arg(key, QLatin1String(row.values));
    }
    return QStringLiteral("keys of [device] are %1").arg(keys.join(QLatin1String(", ")));
}

QString parseInput(LumenProfile &profile, const QString &key, const QString &value)
{
    int source = 0;
    if (!parseNumber(key, QmxIds::firstInput.value(), QmxIds::internalGenerator.value() - 1, source))
        return QStringLiteral("an input is written as 601=LOCATOR, its number from 601 to 694");
    profile.inputs.insert(source, value);
    return {};
}

QString parseLine(LumenProfile &profile, QString &section, const QString &line)
{
    if (line.startsWith(QLatin1Char('['))) {
        const QString name = line.endsWith(QLatin1Char(']')) ? line.mid(1, line.size() - 2) : QString();
        section = name;
        if (name == QLatin1String("device") || name == QLatin1String("inputs") ||
            name == QLatin1String("outputs"))
            return {};
        return QStringLiteral("sections are [device], [inputs] and [outputs]");
    }
    const qsizetype equals = line.indexOf(QLatin1Char('='));
    const QString key = line.left(equals).trimmed();
    const QString value = equals < 0 ? QString() : line.mid(equals + 1).trimmed();
    if (equals < 1 || value.isEmpty()) return QStringLiteral("write KEY=VALUE");
    if (section == QLatin1String("device")) return parseDevice(profile, key, value);
    if (section == QLatin1String("inputs")) return parseInput(profile, key, value);
    if (section != QLatin1String("outputs")) return QStringLiteral("put it under a section");
    profile.outputs.append({key, value});
    return {};
}

/// The file's text; the number of the error in `error`, else 0.
QByteArray readFile(const QString &path, QmxFiles &files, int &error)
{
    QByteArray bytes;
    const int fd = files.open(path, O_RDONLY | O_CLOEXEC);
    error = fd < 0 ? errno : 0;
    char part[4096];
    while (fd >= 0 && bytes.size() < maximumFileSize) {
        const ssize_t count = files.pread(fd, part, sizeof part, bytes.size());
        if (count < 0) error = errno;
        if (count <= 0) break;
        bytes.append(part, count);
    }
    if (fd >= 0) files.close(fd);
    return bytes;
}
} // namespace

LumenProfile LumenProfile::builtIn()
{
    LumenProfile profile;
    profile.inputs.insert(QmxIds::firstInput.value(), QStringLiteral("generator:?rate=25&size=1920x1080"));
    return profile;
}

LumenProfile LumenProfile::parse(const QString &text, const QString &name)
{
    LumenProfile profile = builtIn();
    // A replacement character stands for bytes that are no text.
    if (text.contains(QChar(0)) || text.contains(QChar(QChar::ReplacementCharacter))) {
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__,
                     "%s is not a text file, the built-in profile is used; write the profile anew and start "
                     "the daemon again\n",
                     qPrintable(name));
        return profile;
    }
    QString section;
    int complaints = 0;
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')) || line.startsWith(QLatin1Char('#')))
            continue;
        const QString remedy = parseLine(profile, section, line);
        if (remedy.isEmpty() || ++complaints > maximumComplaints) continue;
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__, "%s line %d ignored: \"%s\": %s\n",
                     qPrintable(name), i + 1, qPrintable(line.left(200)), qPrintable(remedy));
    }
    if (complaints > maximumComplaints)
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__,
                     "%s: %d more lines ignored; is it the profile of this device?\n", qPrintable(name),
                     complaints - maximumComplaints);
    return profile;
}

LumenProfile LumenProfile::load(const QString &path, const QmxEnvironment &environment)
{
    int error = 0;
    const QByteArray bytes = readFile(path, *environment.files, error);
    if (error == ENOENT) return builtIn();
    if (error) {
        qmxLogOutput(QmxLogLevel::Warning, logSource, __LINE__,
                     "%s cannot be read (%s), the built-in profile is used; make it readable and start the "
                     "daemon again\n",
                     qPrintable(path), std::strerror(error));
        return builtIn();
    }
    return parse(QString::fromUtf8(bytes), path);
}
