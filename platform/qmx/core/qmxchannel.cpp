// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/qmx/core/qmxchannel.h"

#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

namespace {

/// The file system as a channel's own programs see it.
class ChannelFiles : public QmxFiles
{
public:
    ChannelFiles(std::shared_ptr<QmxFiles> files, std::shared_ptr<const QmxPlaces> places)
        : _files(std::move(files)), _places(std::move(places))
    {}

    int open(const QString &path, int flags, mode_t mode) override
    {
        return _files->open(_places->here(path), flags, mode);
    }
    int openAny(const QString &path, int flags, mode_t mode) override
    {
        return _files->openAny(_places->here(path), flags, mode);
    }
    int stat(const QString &path, struct stat64 *data) override
    {
        return _files->stat(_places->here(path), data);
    }
    int statfs(const QString &path, struct statfs64 *data) override
    {
        return _files->statfs(_places->here(path), data);
    }
    int rename(const QString &from, const QString &to) override
    {
        return _files->rename(_places->here(from), _places->here(to));
    }
    int renameNew(const QString &from, const QString &to) override
    {
        return _files->renameNew(_places->here(from), _places->here(to));
    }
    int unlink(const QString &path) override { return _files->unlink(_places->here(path)); }

private:
    const std::shared_ptr<QmxFiles> _files;
    const std::shared_ptr<const QmxPlaces> _places;
};

QString noChannel(const QString &text)
{
    return QStringLiteral("'%1' is no channel; they are numbered from 1 to %2")
        .arg(text)
        .arg(QmxPlaces::mostChannels);
}

QString notThere(int channel)
{
    return QStringLiteral(
               "there is no channel %1; `xpctl channel list` shows those there are, `xpctl channel "
               "add %1` makes it")
        .arg(channel);
}

} // namespace

namespace QmxChannel {

bool exists(int channel)
{
    return channel == 1 || QFileInfo(QmxPlaces::ofChannel(channel).settings).isDir();
}

QList<int> all()
{
    QList<int> channels{1};
    const QDir folder(QFileInfo(QmxPlaces::ofChannel(2).settings).path());
    for (const QString &name : folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (const auto channel = QmxPlaces::channelNamed(name); channel && *channel != 1)
            channels.append(*channel);
    std::sort(channels.begin(), channels.end());
    return channels;
}

QmxEnvironment environmentOf(int channel)
{
    QmxEnvironment environment = QmxEnvironment::current();
    if (channel == environment.places->channel) return environment;
    environment.places = std::make_shared<const QmxPlaces>(QmxPlaces::ofChannel(channel));
    environment.files = std::make_shared<ChannelFiles>(std::make_shared<QmxFiles>(), environment.places);
    return environment;
}

std::optional<QList<int>> parseList(const QString &text, QString &problem)
{
    if (text == QLatin1String("all")) return all();
    QList<int> channels;
    for (const QString &word : text.split(',')) {
        const auto channel = QmxPlaces::channelNamed(word);
        if (!channel)
            problem = noChannel(word);
        else if (!exists(*channel))
            problem = notThere(*channel);
        if (!problem.isEmpty()) return std::nullopt;
        if (!channels.contains(*channel)) channels.append(*channel);
    }
    std::sort(channels.begin(), channels.end());
    return channels;
}

QString enter(const QString &text)
{
    if (text.isEmpty()) return {};
    const auto channel = QmxPlaces::channelNamed(text);
    if (!channel) return noChannel(text);
    if (*channel == 1) return {};
    if (!exists(*channel)) return notThere(*channel);
    QmxEnvironment::setCurrent(environmentOf(*channel));
    return {};
}

} // namespace QmxChannel
