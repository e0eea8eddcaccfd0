// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/edges/qmxgeneratorscript.h"

#include "platform/qmx/core/qmxids.h"
#include "platform/qmx/edges/qmxsourceformat.h"

#include <QStringList>

#include <algorithm>
#include <array>
#include <limits>

namespace {
constexpr int maximumSize = 4096;
constexpr int maximumRate = 120;

/// The script while it is being read: first format in its parts.
struct Reading
{
    QmxGeneratorScript script;
    QmxVideoRate rate{25};
    QSize size{1920, 1080};
    int scanMode = QmxImageDesc::Progressive;
};

bool readFrame(const QString &text, qint64 *frame)
{
    bool ok = false;
    *frame = text.toLongLong(&ok);
    return ok && *frame >= 0;
}

bool readSpans(const QString &text, QList<QmxGeneratorScript::Span> *spans)
{
    for (const QString &item : text.split(QLatin1Char(','))) {
        const QStringList ends = item.split(QLatin1Char('-'));
        QmxGeneratorScript::Span span{0, std::numeric_limits<qint64>::max()};
        if (ends.size() > 2 || !readFrame(ends.first(), &span.first)) return false;
        if (ends.size() == 1)
            span.last = span.first;
        else if (!ends.last().isEmpty() && !readFrame(ends.last(), &span.last))
            return false;
        if (span.last < span.first) return false;
        spans->append(span);
    }
    return true;
}

/// "WORD@FRAME,...", WORD being `on` or `off`.
bool readSwitches(const QString &text, const char *on, const char *off,
                  QList<QmxGeneratorScript::Switch> *switches)
{
    for (const QString &item : text.split(QLatin1Char(','))) {
        const QStringList parts = item.split(QLatin1Char('@'));
        QmxGeneratorScript::Switch s{0, parts.first() == QLatin1String(on)};
        if (parts.size() != 2 || (!s.on && parts.first() != QLatin1String(off))) return false;
        if (!readFrame(parts.last(), &s.frame)) return false;
        switches->append(s);
    }
    std::stable_sort(switches->begin(), switches->end(),
                     [](const auto &a, const auto &b) { return a.frame < b.frame; });
    return true;
}

bool readFormats(const QString &text, QList<QmxGeneratorScript::Format> *formats)
{
    for (const QString &item : text.split(QLatin1Char(','))) {
        const QStringList parts = item.split(QLatin1Char('@'));
        QmxGeneratorScript::Format format{0, QmxSourceFormat::fromText(parts.first())};
        if (parts.size() != 2 || !format.desc.isValid() || format.desc.width() > maximumSize ||
            format.desc.height() > maximumSize || format.desc.frameRate().toDouble() > maximumRate)
            return false;
        if (!readFrame(parts.last(), &format.frame)) return false;
        formats->append(format);
    }
    return true;
}

bool readWord(const QString &text, std::initializer_list<std::pair<const char *, QmxId>> words, QmxId *id)
{
    for (const auto &[word, value] : words) {
        if (text != QLatin1String(word)) continue;
        *id = value;
        return true;
    }
    return false;
}

/// One key of the script.
struct Key
{
    const char *name;
    bool (*read)(const QString &value, Reading &r);
};
const std::array keys = {
    Key{"rate",
        [](const QString &v, Reading &r) {
            r.rate = QmxSourceFormat::rateFromText(v);
            return r.rate.isValid() && r.rate.toDouble() <= maximumRate;
        }},
    Key{"size",
        [](const QString &v, Reading &r) {
            r.size = QmxSourceFormat::sizeFromText(v);
            return !r.size.isEmpty() && r.size.width() <= maximumSize && r.size.height() <= maximumSize &&
                   r.size.width() % 2 == 0;
        }},
    Key{"scan",
        [](const QString &v, Reading &r) {
            r.scanMode = QmxSourceFormat::scanModeFromText(v);
            return r.scanMode >= 0;
        }},
    Key{"pattern",
        [](const QString &v, Reading &r) {
            return readWord(v,
                            {{"800", QmxIds::bars},
                             {"bars", QmxIds::bars},
                             {"801", QmxIds::ramp},
                             {"ramp", QmxIds::ramp},
                             {"802", QmxIds::movingPattern},
                             {"moving", QmxIds::movingPattern},
                             {"black", QmxIds::none}},
                            &r.script.pattern);
        }},
    Key{"tone",
        [](const QString &v, Reading &r) {
            return readWord(v, {{"900", QmxIds::tone1000}, {"901", QmxIds::tone440}, {"off", QmxIds::none}},
                            &r.script.tone);
        }},
    Key{"channels",
        [](const QString &v, Reading &r) {
            bool ok = false;
            r.script.channels = v.toInt(&ok);
            return ok && r.script.channels >= 0 && r.script.channels <= QmxSourceFormat::audioChannels;
        }},
    Key{"tc",
        [](const QString &v, Reading &r) {
            r.script.start = QmxTimecode(v);
            return r.script.start.isValid();
        }},
    Key{"tcrun",
        [](const QString &v, Reading &r) { return readSwitches(v, "on", "off", &r.script.timecodeRuns); }},
    Key{"loss", [](const QString &v, Reading &r) { return readSpans(v, &r.script.losses); }},
    Key{"unstable", [](const QString &v, Reading &r) { return readSpans(v, &r.script.unstable); }},
    Key{"mute", [](const QString &v, Reading &r) { return readSpans(v, &r.script.mutes); }},
    Key{"camera",
        [](const QString &v, Reading &r) { return readSwitches(v, "on", "off", &r.script.camera); }},
    Key{"count",
        [](const QString &v, Reading &r) {
            r.script.countsMachine = v == QLatin1String("machine");
            return r.script.countsMachine || v == QLatin1String("own");
        }},
    Key{"clip",
        [](const QString &v, Reading &r) {
            r.script.clipName = v;
            return !v.isEmpty();
        }},
    Key{"vfr",
        [](const QString &v, Reading &r) {
            r.script.variableRate = QmxSourceFormat::variableRateClass(QmxSourceFormat::rateFromText(v));
            r.script.effectiveRate = QmxSourceFormat::rateFromText(v).timecodeRate();
            return r.script.variableRate > 0;
        }},
    Key{"format", [](const QString &v, Reading &r) { return readFormats(v, &r.script.formats); }},
    Key{"reference",
        [](const QString &v, Reading &r) { return readSwitches(v, "ok", "lost", &r.script.reference); }},
};
} // namespace

QmxGeneratorScript QmxGeneratorScript::fromText(const QString &query, QString *problem)
{
    Reading reading;
    for (const QString &item : query.split(QLatin1Char('&'), Qt::SkipEmptyParts)) {
        const QString name = item.section(QLatin1Char('='), 0, 0);
        const QString value = item.section(QLatin1Char('='), 1);
        const auto key = std::find_if(keys.begin(), keys.end(),
                                      [&](const Key &k) { return name == QLatin1String(k.name); });
        if (key != keys.end() && key->read(value, reading)) continue;
        QStringList known;
        for (const Key &k : keys)
            known.append(QLatin1String(k.name));
        *problem = key == keys.end()
                       ? QStringLiteral("the generator has no key \"%1\"; it has %2")
                             .arg(name, known.join(QStringLiteral(", ")))
                       : QStringLiteral("\"%1\" is no value for the generator's key \"%2\"").arg(value, name);
        reading = Reading();
        break;
    }
    const QmxImageDesc first = QmxSourceFormat::desc(reading.size, reading.rate, reading.scanMode);
    QmxGeneratorScript script = reading.script;
    script.formats.prepend(Format{0, first});
    std::stable_sort(script.formats.begin(), script.formats.end(),
                     [](const auto &a, const auto &b) { return a.frame < b.frame; });
    return script;
}

bool QmxGeneratorScript::covers(const QList<Span> &spans, qint64 frame)
{
    return std::any_of(spans.begin(), spans.end(),
                       [frame](const Span &s) { return s.first <= frame && frame <= s.last; });
}

std::optional<bool> QmxGeneratorScript::position(const QList<Switch> &switches, qint64 frame)
{
    std::optional<bool> result;
    for (const Switch &s : switches)
        if (s.frame <= frame) result = s.on;
    return result;
}

int QmxGeneratorScript::formatIndex(qint64 frame) const
{
    int index = 0;
    for (int i = 0; i < formats.size(); ++i)
        if (formats[i].frame <= frame) index = i;
    return index;
}

QmxTimecode QmxGeneratorScript::timecode(qint64 frame, const QmxVideoRate &rate) const
{
    if (!start.isValid()) return {};
    qint64 steps = frame;
    qint64 stoppedAt = -1;
    for (const Switch &s : timecodeRuns) {
        if (s.frame > frame) break;
        if (!s.on && stoppedAt < 0) stoppedAt = s.frame;
        if (s.on && stoppedAt >= 0) {
            steps -= s.frame - stoppedAt;
            stoppedAt = -1;
        }
    }
    if (stoppedAt >= 0) steps -= frame - stoppedAt;
    QmxTimecode first = start;
    first.setFPS(rate.timecodeRate());
    const qint64 day = qint64(24) * 3600 * std::max(first.fps(), 1);
    return first.advanced(int(steps % day));
}
