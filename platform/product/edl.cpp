// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/edl.h"

#include <QRegularExpression>

namespace {

constexpr int reelLength = 8;
constexpr int longestTitle = 70;

QmxTimecode timecodeOf(const QString &text, bool drop)
{
    QmxTimecode timecode(text);
    timecode.setDropFrame(drop || timecode.isDropFrame());
    return timecode;
}

/// "10:00:04:00": the form has the kind of counting in a line of its own, and colons throughout.
QString written(QmxTimecode timecode)
{
    timecode.setDropFrame(false);
    return timecode.toString();
}

/// In a comment behind one of the words that programs write there.
std::optional<QString> behind(const QString &line, std::initializer_list<const char *> words)
{
    for (const char *word : words)
        if (line.startsWith(QLatin1String(word), Qt::CaseInsensitive))
            return line.mid(qsizetype(qstrlen(word))).trimmed();
    return {};
}

/// "* LOC: 10:00:05:00 RED     Goal"
std::optional<Edl::Locator> locatorOf(const QString &text, bool drop)
{
    static const QRegularExpression form(QStringLiteral(R"(^(\d\d:\d\d:\d\d[:;.]\d\d)\s+(\S+)\s*(.*)$)"));
    const QRegularExpressionMatch match = form.match(text);
    const QmxTimecode at = timecodeOf(match.captured(1), drop);
    if (!match.hasMatch() || !at.isValid()) return {};
    const QString name = match.captured(3).trimmed();
    return Edl::Locator{at, name.isEmpty() ? match.captured(2) : name};
}

} // namespace

QString Edl::reelOf(const QString &clip)
{
    QString reel;
    for (const QChar c : clip.section(QLatin1Char('.'), 0, -2)) {
        if (reel.size() == reelLength) break;
        const bool isPlain = c.unicode() < 128 && c.isLetterOrNumber();
        reel += isPlain ? c.toUpper() : QLatin1Char('_');
    }
    return reel.isEmpty() ? QStringLiteral("AX") : reel;
}

std::optional<Edl> Edl::fromText(const QString &text, QString &why)
{
    // Number, reel, tracks, kind (and length) of the transition, four timecodes.
    static const QRegularExpression eventForm(QStringLiteral(
        R"(^(\d{1,6})\s+(\S+)\s+(\S+)\s+(\S+)(?:\s+(\d+))?\s+(\S+)\s+(\S+)\s+(\S+)\s+(\S+)$)"));
    Edl edl;
    bool isOfPictures = false;
    const auto wrong = [&why](int line, const QString &what) -> std::optional<Edl> {
        why = QStringLiteral("line %1: %2").arg(line).arg(what);
        return {};
    };
    const QStringList lines = text.split(QLatin1Char('\n'));
    for (int number = 1; number <= lines.size(); ++number) {
        const QString line = lines[number - 1].trimmed();
        if (line.isEmpty()) continue;
        if (const auto title = behind(line, {"TITLE:"})) {
            edl.title = *title;
        } else if (const auto counting = behind(line, {"FCM:"})) {
            edl.dropFrame = counting->startsWith(QLatin1String("DROP"), Qt::CaseInsensitive);
        } else if (line.startsWith(QLatin1Char('*'))) {
            const QString comment = line.mid(1).trimmed();
            if (!isOfPictures) continue;
            if (const auto name = behind(comment, {"FROM CLIP NAME:", "CLIP NAME:"})) {
                edl.events.last().clip = *name;
            } else if (const auto place = behind(comment, {"LOC:"})) {
                const auto locator = locatorOf(*place, edl.dropFrame);
                if (!locator) return wrong(number, QStringLiteral("'%1' is no locator").arg(*place));
                edl.events.last().locators.append(*locator);
            }
        } else if (line[0].isDigit()) {
            const QRegularExpressionMatch match = eventForm.match(line);
            if (!match.hasMatch()) return wrong(number, QStringLiteral("'%1' is no event").arg(line));
            isOfPictures = match.captured(3).contains(QLatin1Char('V'), Qt::CaseInsensitive) ||
                           match.captured(3).compare(QLatin1String("B"), Qt::CaseInsensitive) == 0;
            if (!isOfPictures) continue; // the sound of a clip goes with its pictures
            if (match.captured(4).compare(QLatin1String("C"), Qt::CaseInsensitive) != 0)
                return wrong(number, QStringLiteral("only cuts can be played, '%1' is another transition")
                                         .arg(match.captured(4)));
            if (edl.events.size() >= mostEvents)
                return wrong(number, QStringLiteral("more than %1 events").arg(mostEvents));
            Event event;
            event.reel = match.captured(2);
            QmxTimecode *const places[] = {&event.sourceIn, &event.sourceOut, &event.recordIn,
                                           &event.recordOut};
            for (int i = 0; i < 4; ++i) {
                *places[i] = timecodeOf(match.captured(6 + i), edl.dropFrame);
                if (!places[i]->isValid())
                    return wrong(number, QStringLiteral("'%1' is no timecode").arg(match.captured(6 + i)));
            }
            edl.events.append(event);
        } // what else there is concerns other machines
    }
    if (!edl.events.isEmpty()) return edl;
    why = QStringLiteral("there is no event with pictures in it");
    return {};
}

QString Edl::toText() const
{
    QStringList lines{QStringLiteral("TITLE: %1").arg(title.left(longestTitle)),
                      dropFrame ? QStringLiteral("FCM: DROP FRAME") : QStringLiteral("FCM: NON-DROP FRAME"),
                      QString()};
    for (int i = 0; i < events.size(); ++i) {
        const Event &event = events[i];
        lines << QStringLiteral("%1  %2 V     C        %3 %4 %5 %6")
                     .arg(i + 1, 3, 10, QLatin1Char('0'))
                     .arg(event.reel.left(reelLength), -reelLength)
                     .arg(written(event.sourceIn), written(event.sourceOut), written(event.recordIn),
                          written(event.recordOut));
        lines << QStringLiteral("* FROM CLIP NAME: %1").arg(event.clip);
        for (const Locator &locator : event.locators)
            lines << QStringLiteral("* LOC: %1 RED     %2").arg(written(locator.at), locator.name);
    }
    return lines.join(QLatin1String("\r\n")) + QLatin1String("\r\n");
}
