// SPDX-License-Identifier: GPL-3.0-or-later
// channel: the recorders of this machine.
#include "companions/ctl/commands.h"

#include "platform/product/channelviews.h"
#include "platform/qmx/core/qmxchannel.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxlockfile.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsafefile.h"
#include "platform/qmx/edges/lumenprofile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
constexpr int input = 601; ///< of the profile: video_input input_1
constexpr auto testPicture = "generator:?rate=25&size=1920x1080";

QString sourceOf(int channel)
{
    const QmxEnvironment environment = QmxEnvironment::current();
    const LumenProfile profile = LumenProfile::load(QmxPlaces::ofChannel(channel).profile, environment);
    return profile.input(input);
}

/// What only one program can have: a device, a port of this machine. Empty: any number may look.
QString exclusiveIn(const QString &source)
{
    const QString address = source.section('?', 0, 0);
    const QString scheme = address.section(':', 0, 0);
    const bool isDevice = scheme == QLatin1String("v4l2") || scheme == QLatin1String("alsa");
    const bool listens = scheme == QLatin1String("srt") && source.contains(QLatin1String("mode=listener"));
    return isDevice || listens ? address : QString();
}

/// The channel that has this input already; 0: nobody.
int ownerOf(const QString &source, int besides)
{
    const QString wanted = exclusiveIn(source);
    if (wanted.isEmpty()) return 0;
    for (const int channel : QmxChannel::all())
        if (channel != besides && exclusiveIn(sourceOf(channel)) == wanted) return channel;
    return 0;
}

ExitCode refuse(const Report &report, const QString &what, const QString &hint = {})
{
    return report.error(ExitCode::Refused, what, hint);
}

ExitCode needsRoot(const Report &report)
{
    return refuse(report, "only root makes and removes channels", "ask again as root");
}

/// A new file: what stands there already may be a link that somebody has put.
bool writeFile(const QString &path, const QByteArray &text)
{
    const int fd = QmxSafeFile::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    QFile file;
    return fd >= 0 && file.open(fd, QIODevice::WriteOnly, QFileDevice::AutoCloseHandle) &&
           file.write(text) == text.size();
}

/// To the service manager: the units of the channels wait for it.
void tellReady()
{
    const QByteArray path = qgetenv("NOTIFY_SOCKET");
    sockaddr_un address = {};
    if (path.isEmpty() || size_t(path.size()) >= sizeof address.sun_path) return;
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.constData(), size_t(path.size()));
    if (path[0] == '@') address.sun_path[0] = '\0';
    const int fd = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(path.size()));
    constexpr char ready[] = "READY=1";
    if (fd < 0) return;
    ::sendto(fd, ready, sizeof ready - 1, 0, reinterpret_cast<const sockaddr *>(&address), size);
    ::close(fd);
}

ExitCode list(const Report &report)
{
    QJsonArray channels;
    QString text;
    for (const int channel : QmxChannel::all()) {
        const QmxPlaces places = QmxPlaces::ofChannel(channel);
        const bool runs = QmxLockFile(places.recorderLock).holder() != 0;
        const int plays = channel == 1 ? 0 : ChannelViews::playsOf(channel);
        const QString source =
            plays ? QStringLiteral("plays the clips of channel %1").arg(plays) : sourceOf(channel);
        channels.append(QJsonObject{
            {"channel", channel}, {"runs", runs}, {"input", plays ? QString() : source}, {"plays", plays}});
        text += QStringLiteral("%1  %2  %3\n").arg(channel, 2).arg(runs ? "runs" : "stands", -6).arg(source);
    }
    report.result(text, {{"channels", channels}});
    return ExitCode::Done;
}

ExitCode add(const Report &report, int channel, const QString &source, int plays)
{
    if (QmxChannel::exists(channel))
        return refuse(report, QStringLiteral("channel %1 is there already").arg(channel),
                      "`xpctl channel list` shows them all");
    if (plays && (plays == channel || !QmxChannel::exists(plays)))
        return refuse(report,
                      QStringLiteral("there is no channel %1 whose clips could be played").arg(plays));
    if (std::any_of(source.begin(), source.end(), [](QChar c) { return !c.isPrint(); }))
        return report.error(ExitCode::Usage, "this is no input: it stands in one line of the profile");
    if (const int owner = ownerOf(source, channel))
        return refuse(report,
                      QStringLiteral("%1 is the input of channel %2, and no two can have it")
                          .arg(exclusiveIn(source))
                          .arg(owner),
                      "give another input");
    if (::geteuid() != 0) return needsRoot(report);
    const ChannelViews::Turn turn;
    const QmxPlaces places = QmxPlaces::ofChannel(channel);
    QStringList problems = ChannelViews::makeFolders(channel, QmxPlaces().state);
    const QByteArray profile =
        "; The inputs and outputs of this channel; see /etc/xp/lumen.ini of the machine.\n"
        "[device]\nreference=locked\n\n[inputs]\n" +
        QByteArray::number(input) + '=' + source.toUtf8() + '\n';
    if (problems.isEmpty() &&
        !(writeFile(places.profile, profile) &&
          (!plays || writeFile(ChannelViews::replayFile(channel), QByteArray::number(plays) + '\n'))))
        problems << places.settings + ": " + QString::fromLocal8Bit(std::strerror(errno));
    if (!problems.isEmpty()) {
        QDir(places.settings).removeRecursively();
        return refuse(report,
                      QStringLiteral("channel %1 was not made: %2").arg(channel).arg(problems.first()));
    }
    for (const QString &problem : ChannelViews::bindMedia(channel))
        report.note(problem);
    report.result(
        QStringLiteral("channel %1; start it: systemctl enable --now xpd@%1 xpmediad@%1").arg(channel),
        {{"channel", channel}, {"input", source}, {"plays", plays}});
    return ExitCode::Done;
}

ExitCode remove(const Report &report, int channel)
{
    if (channel == 1) return refuse(report, "channel 1 is the recorder of the machine itself");
    if (!QmxChannel::exists(channel))
        return refuse(report, QStringLiteral("there is no channel %1").arg(channel),
                      "`xpctl channel list` shows them all");
    const QmxPlaces places = QmxPlaces::ofChannel(channel);
    for (const QString &lock : {places.recorderLock, places.mediaLock})
        if (const int holder = QmxLockFile(lock).holder())
            return refuse(
                report, QStringLiteral("channel %1 runs (process %2)").arg(channel).arg(holder),
                QStringLiteral("end it first: systemctl disable --now xpd@%1 xpmediad@%1").arg(channel));
    for (const int other : QmxChannel::all())
        if (other != 1 && ChannelViews::playsOf(other) == channel)
            return refuse(report, QStringLiteral("channel %1 plays its clips").arg(other),
                          QStringLiteral("remove that first: xpctl channel remove %1").arg(other));
    if (::geteuid() != 0) return needsRoot(report);
    const ChannelViews::Turn turn;
    if (!ChannelViews::removeFolders(channel))
        return refuse(report,
                      QStringLiteral("not all of channel %1 could be removed; what is left lies in %2, "
                                     "%3 and %4")
                          .arg(channel)
                          .arg(places.settings, places.state, places.run));
    report.result(
        QStringLiteral("channel %1 is gone; its clips stay on the media, in channel-%1").arg(channel),
        {{"channel", channel}});
    return ExitCode::Done;
}

ExitCode view(const Report &report, int channel)
{
    const ChannelViews::Turn turn;
    QStringList problems = ChannelViews::makeFolders(channel, QmxPlaces().state);
    if (problems.isEmpty()) problems = ChannelViews::bindMedia(channel);
    // One medium less does not keep the channel from recording on the others.
    for (const QString &problem : problems)
        report.error(ExitCode::Refused, problem);
    return QFileInfo(QmxPlaces::ofChannel(channel).media).isDir() ? ExitCode::Done : ExitCode::Refused;
}
} // namespace

ExitCode ctlChannel(const Report &report, const Arguments &arguments)
{
    const std::string action = arguments.word(0);
    if (action == "list") return list(report);
    if (action == "follow") {
        if (!ChannelViews::mayMount()) return needsRoot(report);
        ChannelViews::follow(
            [](const QStringList &problems) {
                for (const QString &problem : problems)
                    std::fprintf(stderr, "xpctl: %s\n", qUtf8Printable(problem));
            },
            tellReady);
    }
    const QString number = QString::fromStdString(arguments.word(1));
    const auto channel = QmxPlaces::channelNamed(number);
    if (!channel)
        return report.error(ExitCode::Usage,
                            QStringLiteral("'%1' is no channel; they are numbered from 1 to %2")
                                .arg(number)
                                .arg(QmxPlaces::mostChannels));
    const QString given = QString::fromStdString(arguments.word(2));
    const bool isReplay = given.startsWith(QLatin1String("plays:"));
    if (action == "add")
        return add(report, *channel, given.isEmpty() || isReplay ? QString::fromLatin1(testPicture) : given,
                   isReplay ? QmxPlaces::channelNamed(given.section(':', 1)).value_or(-1) : 0);
    if (action == "remove") return remove(report, *channel);
    if (action == "view" && *channel != 1 && QmxChannel::exists(*channel))
        return ::geteuid() == 0 ? view(report, *channel) : needsRoot(report);
    return report.error(ExitCode::Usage,
                        QStringLiteral("'%1' is not what can be done with channel %2")
                            .arg(QString::fromStdString(action), number),
                        "`xpctl help channel` shows how it is used");
}
