// SPDX-License-Identifier: GPL-3.0-or-later
#include "companions/ctl/gang.h"

#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxclock.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxtakewindow.h"

#include <QJsonArray>

#include <algorithm>
#include <map>
#include <memory>
#include <utility>

namespace {
constexpr auto variable = "XP_CHANNEL";
/// From now to the first frame, and to the last one: the way of a command to the card.
constexpr qint64 startAhead = 600 * QmxClock::nsPerMillisecond;
constexpr qint64 endAhead = 120 * QmxClock::nsPerMillisecond;
constexpr qint64 ticksWithin = QmxClock::nsPerSecond;

qint64 clockNow()
{
    return QmxEnvironment::current().clock->now();
}

/// How far ahead a frame is set for all. On a machine on which it took long to ask them, the command takes as
/// long.
qint64 aheadFor(qint64 least, qint64 askedAt)
{
    constexpr qint64 most = 3 * QmxClock::nsPerSecond;
    return std::clamp(clockNow() - askedAt, least, most);
}

/// The clocks of the channels, each through its own shared memory.
class Clocks
{
public:
    explicit Clocks(const QList<int> &channels)
    {
        const QmxEnvironment before = QmxEnvironment::current();
        for (const int channel : channels) {
            QmxEnvironment::setCurrent(QmxChannel::environmentOf(channel));
            _clients.emplace(channel, std::make_unique<QmxTakeWindow::Client>());
        }
        QmxEnvironment::setCurrent(before);
    }

    std::optional<QmxTakeWindow::Now> now(int channel)
    {
        const auto told = _clients.at(channel)->now();
        // (Nothing of one that stands still, or whose time runs faster: no moment there is one of ours.)
        const bool isOurs = told && told->period > 0 && std::abs(told->moment - clockNow()) < ticksWithin;
        return isOurs ? told : std::nullopt;
    }
    /// First frame of the take that follows the one that began at `before`. (A clip is open a moment before
    /// the clock tells of its first frame.)
    std::optional<qint64> firstAfter(int channel, qint64 before)
    {
        constexpr qint64 toldWithin = QmxClock::nsPerSecond;
        constexpr qint64 lookEvery = 5 * QmxClock::nsPerMillisecond;
        for (const qint64 end = clockNow() + toldWithin; clockNow() < end;) {
            const auto told = now(channel);
            if (told && told->first >= 0 && told->first != before) return told->first;
            QmxEnvironment::current().clock->sleepUntil(clockNow() + lookEvery);
        }
        return std::nullopt;
    }
    /// The first frame of a channel that does not begin before a moment.
    static qint64 indexAt(const QmxTakeWindow::Now &now, qint64 moment)
    {
        return now.index + (moment - now.moment + now.period / 2) / now.period;
    }
    static qint64 momentOf(const QmxTakeWindow::Now &now, qint64 index)
    {
        return now.moment + (index - now.index) * now.period;
    }
    bool set(int channel, qint64 in, qint64 out) { return _clients.at(channel)->set(in, out); }

private:
    std::map<int, std::unique_ptr<QmxTakeWindow::Client>> _clients;
};

/// Waits until every take holds so many frames: what is still on its way from the card would not be in it.
void awaitFrames(const std::map<int, qint64> &frames)
{
    // Well below the four seconds for which a window keeps frames out: on a machine that is so far behind the
    // takes rather differ in length than end with a loss.
    constexpr qint64 longest = QmxClock::nsPerSecond;
    constexpr qint64 standsWithin =
        500 * QmxClock::nsPerMillisecond; // nothing is recorded, or all of it is there
    constexpr qint64 lookEvery = 5 * QmxClock::nsPerMillisecond;
    const qint64 end = clockNow() + longest;
    for (const auto &[channel, wanted] : frames) {
        QmxCountersReader counters;
        if (!counters.open(QmxPlaces::ofChannel(channel).counters)) continue;
        qint64 held = -1;
        qint64 grewAt = clockNow();
        while (held < wanted && clockNow() < end && clockNow() - grewAt < standsWithin) {
            const qint64 before = std::exchange(held, counters.value(QStringLiteral("current_clip_frames")));
            if (held != before) grewAt = clockNow();
            QmxEnvironment::current().clock->sleepUntil(clockNow() + lookEvery);
        }
    }
}

/// A frame of the slowest of them at or after a moment: on the grid a frame of all that have its rate.
qint64 commonMoment(Clocks &clocks, const QList<int> &channels, qint64 from)
{
    qint64 moment = from;
    qint64 longest = 0;
    for (const int channel : channels) {
        const auto now = clocks.now(channel);
        if (!now || now->period <= longest) continue;
        longest = now->period;
        moment = Clocks::momentOf(*now, now->index + (from - now->moment) / now->period + 1);
    }
    return moment;
}

} // namespace

QStringList Gang::namesOf(const QList<int> &channels)
{
    QStringList names;
    for (const int channel : channels)
        names.append(QString::number(channel));
    return names;
}

QList<int> Gang::channelsAt(const QList<qsizetype> &indexes) const
{
    QList<int> channels;
    for (const qsizetype index : indexes)
        channels.append(_channels[index]);
    return channels;
}

QList<Gang::Part> Gang::partsOf(const QList<int> &channels, Asked &asked)
{
    QList<Part> parts;
    for (const Asked::Answer &answer : asked.answers())
        parts.append({answer, channels[parts.size()]});
    return parts;
}

QList<Gang::Part> Gang::ask(const QList<int> &channels, const QStringList &words) const
{
    Asked asked(variable, namesOf(channels), words, _report.isJson());
    return partsOf(channels, asked);
}

ExitCode Gang::tell(const QList<Part> &parts, const QJsonObject &more, const QString &last) const
{
    QJsonArray list;
    QString text;
    int worst = 0;
    for (const Part &part : parts) {
        QJsonObject object{{"channel", part.channel}, {"status", part.answer.status}};
        object[isDone(part) ? "result" : "refused"] = part.answer.result;
        if (part.hasOffset) object["first_frame_offset"] = part.offset;
        list.append(object);
        worst = std::max(worst, part.answer.status);
        for (const QString &line : part.answer.text.split('\n'))
            text += QStringLiteral("%1: %2\n").arg(part.channel, 2).arg(line);
        if (part.hasOffset && part.offset != 0)
            text += QStringLiteral("%1: its first frame is %2 off\n")
                        .arg(part.channel, 2)
                        .arg(qmxCounted(part.offset, "frame"));
    }
    QJsonObject object = more;
    object["channels"] = list;
    text += last;
    if (text.endsWith('\n')) text.chop(1);
    _report.result(text, object);
    return ExitCode(worst);
}

/// With how far the takes that run are apart, by the clocks themselves.
ExitCode Gang::tellStatus(const QList<Part> &parts) const
{
    QList<int> recording;
    for (const Part &part : parts)
        if (part.answer.text.startsWith(QLatin1String("recording")) ||
            part.answer.result["status"] == QLatin1String("recording"))
            recording.append(part.channel);
    Clocks clocks(recording);
    QList<qint64> begun;
    for (const int channel : recording)
        if (const auto now = clocks.now(channel); now && now->first >= 0)
            begun.append(Clocks::momentOf(*now, now->first));
    if (begun.size() < 2) return tell(parts);
    const auto [first, last] = std::minmax_element(begun.begin(), begun.end());
    const double ms = double(*last - *first) / double(QmxClock::nsPerMillisecond);
    constexpr double same = 1; // ms; a frame is longer
    const QString line = ms < same ? QStringLiteral("all takes begin with the same frame")
                                   : QStringLiteral("first frames %1 ms apart").arg(ms, 0, 'f', 1);
    return tell(parts, {{"first_frame_skew_ms", ms}}, line);
}

ExitCode Gang::record(const Arguments &arguments)
{
    const qint64 askedAt = clockNow();
    Asked asked(variable, namesOf(_channels), QStringList(_words) << "--on-word", _report.isJson());
    const QList<qsizetype> ready = asked.awaitReady();
    const QList<int> able = channelsAt(ready);
    if (able.isEmpty() || (able.size() < _channels.size() && !_bestEffort)) {
        asked.begin({});
        QList<Part> parts = partsOf(_channels, asked);
        parts.removeIf([&](const Part &part) { return able.contains(part.channel); });
        tell(parts);
        return _report.error(ExitCode::Refused, "no take was begun, since not all channels can",
                             "--best-effort records on those that can");
    }
    Clocks clocks(able);
    const qint64 moment = commonMoment(clocks, able, clockNow() + aheadFor(startAhead, askedAt));
    std::map<int, qint64> first, before;
    // A take that has a time of its own begins there in every channel.
    const bool isTimed = !arguments.at.empty() || !arguments.until.empty();
    for (const int channel : able) {
        const auto now = clocks.now(channel);
        if (!now || isTimed) continue; // (an older daemon: it begins as soon as it can)
        const qint64 in = Clocks::indexAt(*now, moment);
        before[channel] = now->first;
        const qint64 frames =
            qRound64(arguments.length / std::chrono::duration<double, std::nano>(double(now->period)));
        if (clocks.set(channel, in, frames > 0 ? in + frames : 0)) first[channel] = in;
    }
    asked.begin(ready);
    QList<Part> parts = partsOf(_channels, asked);
    bool isGood = true;
    for (Part &part : parts) {
        isGood = isGood && (isDone(part) || !able.contains(part.channel));
        if (!isDone(part) || !first.contains(part.channel)) continue;
        const auto begun = clocks.firstAfter(part.channel, before[part.channel]);
        part.hasOffset = begun.has_value();
        if (begun) part.offset = *begun - first[part.channel];
    }
    if (!isGood && !_bestEffort) {
        QList<int> begun;
        for (const Part &part : parts)
            if (isDone(part)) begun.append(part.channel);
        if (!begun.isEmpty()) ask(begun, {"stop"});
        tell(parts);
        return _report.error(ExitCode::Refused,
                             "one channel has not begun: the takes of the others were ended");
    }
    if (isTimed) return tell(parts);
    const qint64 sinceNow = moment - clockNow();
    return tell(parts, {{"start_time", (QmxEnvironment::current().clock->wallTime() + sinceNow) /
                                           QmxClock::nsPerMillisecond}});
}

ExitCode Gang::stop()
{
    // The command follows the last frame at once: a take that gets no more frames for long is one that has
    // lost its input.
    Asked asked(variable, namesOf(_channels), QStringList(_words) << "--on-word", _report.isJson());
    const QList<qsizetype> ready = asked.awaitReady();
    const QList<int> able = channelsAt(ready);
    Clocks clocks(able);
    const qint64 moment = commonMoment(clocks, able, clockNow() + endAhead);
    std::map<int, qint64> frames;
    for (const int channel : able) {
        const auto now = clocks.now(channel);
        if (!now || now->first < 0) continue;
        const qint64 out = Clocks::indexAt(*now, moment);
        if (clocks.set(channel, now->first, out)) frames[channel] = out - now->first;
    }
    QmxEnvironment::current().clock->sleepUntil(moment);
    awaitFrames(frames);
    asked.begin(ready);
    return tell(partsOf(_channels, asked));
}

ExitCode Gang::run(const CommandRow &row, const Arguments &arguments)
{
    if (row.runAlone || (row.run == ctlWatch && !arguments.once))
        return _report.error(ExitCode::Usage,
                             QStringLiteral("%1 is for one channel at a time").arg(QLatin1String(row.name)),
                             "name it with --channel N");
    Recorder::catchInterrupt(); // for those who are asked; their answers are waited for
    const QString name = QString::fromLatin1(row.name);
    if (row.verb && name == QLatin1String("record")) return record(arguments);
    if (row.verb && name == QLatin1String("stop") && arguments.wait) return stop();
    const QList<Part> parts = ask(_channels, _words);
    return name == QLatin1String("status") ? tellStatus(parts) : tell(parts);
}
