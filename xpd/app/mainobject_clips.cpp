// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/product/clipfinder.h"
#include "platform/product/mediacache.h"
#include "platform/store/eparam.h"
#include "platform/store/values.h"
#include "xpd/app/mainlog.h"
#include "xpd/app/mainobject.h"
#include "xpd/config/configinterface.h"
#include "xpd/config/configupdater.h"
#include "xpd/media/mediamanager.h"
#include "xpd/transport/vtrobject.h"

namespace {} // namespace

QmxPlayList createPlayList(const QString &path, const std::list<Clip> &clips)
{
    QmxPlayList list;
    for (const Clip &clip : clips) {
        const QString name = QString::fromStdString(clip.getName());
        QmxPlayListEntry entry;
        entry.setName(name);
        entry.setDesc(QVariant(QStringLiteral("%1/%2").arg(path, name)));
        entry.setLength(clip.getFrameCount());
        list.append(entry);
    }
    return list;
}

int findClipFirstFrame(const std::list<Clip> &clips, const QString &name)
{
    const std::string wanted = name.toStdString();
    int position = 0;
    for (const Clip &clip : clips) {
        if (clip.getName() == wanted) return position;
        ++position;
    }
    return -1;
}

void MainObject::updateAllClips()
{
    const QString path = _mediaManager->activePath();
    if (path.isEmpty()) {
        _allClips.clear();
        _allClipsPlayList = QmxPlayList();
        return;
    }
    _allClips = _clipFinder->findClips(true, false, true);
    _allClipsPlayList = createPlayList(path, _allClips);
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Updated all clips list.  %d entries\n",
                 _allClipsPlayList.size());
}

void MainObject::updatePlayList()
{
    const QString path = _mediaManager->activePath();
    if (path.isEmpty()) {
        _playListClips.clear();
        _playList = QmxPlayList();
        return;
    }
    _playListClips = _clipFinder->findClips(true, true, true);
    _playList = createPlayList(path, _playListClips);
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__, "Updated play list.  %d entries\n",
                 _playList.size());
}

QString MainObject::currentClip() const
{
    const QString name = _config->getString(eParam_CurrentClip);
    return name == QLatin1String(noClip) ? QString() : name;
}

void MainObject::setCurrentClip(const QString &name)
{
    _configUpdater->setCurrentClip(name);
    _vtr->setCurrentClipName(name);
}

void MainObject::setInitialClip()
{
    if (!currentClip().isEmpty()) return;
    const QmxPlayList list = playListInUse();
    if (!list.isEmpty()) setCurrentClip(list.last().name());
}

QmxPlayList MainObject::playListInUse() const
{
    return _playbackSource == int(PlaybackSource::PlayList) ? _playList : _allClipsPlayList;
}

int MainObject::findCurrentClipIndex() const
{
    const QString name = currentClip();
    const QmxPlayList list = playListInUse();
    for (int i = 0; i < list.size(); ++i) {
        if (list.at(i).name() == name) return i;
    }
    return -1;
}

int MainObject::findInitialFrame(const std::list<Clip> &, const QmxPlayList &)
{
    const int frame = _initialFrame == -1 ? 0 : _initialFrame;
    _initialFrame = -1;
    return frame;
}

int MainObject::addClip(std::list<Clip> &clips, QmxPlayList &playList, const QString &name)
{
    const QString path = _mediaManager->activePath();
    Clip clip;
    if (!kel::media::MediaCache::GrokClip(clip, QStringLiteral("%1/%2").arg(path, name).toStdString(),
                                          false)) {
        qmxLogText(QmxLogLevel::Warning, mainObjectSource, __LINE__,
                   QStringLiteral("Unable to grok clip %1\n").arg(name));
        return 0;
    }
    clips.push_back(clip);
    playList = createPlayList(path, clips);

    const int index = findClipFirstFrame(clips, name);
    if (index == -1) {
        qmxLogText(QmxLogLevel::Warning, mainObjectSource, __LINE__,
                   QStringLiteral("Unable to find clip %1 in playlist\n").arg(name));
        return 0;
    }
    const int fnum = playList.firstFrameOfEntry(index);
    if (fnum != -1) {
        _configUpdater->setCurrentPlayListIndex(index);
        qmxLogText(QmxLogLevel::Info, mainObjectSource, __LINE__,
                   QStringLiteral("New clip %1 fnum %2, playlistIndex %3")
                       .arg(name, QString::number(fnum), QString::number(index)));
    }
    return fnum;
}

int MainObject::addLastRecordedClip(const QString &name)
{
    const int fnum = addClip(_allClips, _allClipsPlayList, name);
    qmxLogOutput(QmxLogLevel::Info, mainObjectSource, __LINE__,
                 "added last recorded clip to playlist. %d entries, returning fnum %d\n",
                 _allClipsPlayList.size(), fnum);
    return fnum;
}

void MainObject::gotoClipByName(const QString &name)
{
    if (name == QLatin1String(noClip)) {
        _vtr->standbyOff();
        return;
    }
    const QmxPlayList list = playListInUse();
    for (int i = 0; i < list.size(); ++i) {
        if (list.at(i).name() == name) {
            gotoClipByIndex(i);
            return;
        }
    }
    qmxLogText(QmxLogLevel::Error, mainObjectSource, __LINE__,
               QStringLiteral("Can't goto clip: '%1' not found").arg(name));
}

void MainObject::gotoClipByIndex(int index)
{
    constexpr const char *invalid = "Go to playlist index %d failed: Entry invalid\n";
    if (_playbackSource != int(PlaybackSource::CurrentClip)) {
        int fnum = playListInUse().firstFrameOfEntry(index);
        if (fnum == -1) {
            qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__, invalid, index);
            fnum = 0;
        }
        _vtr->cue(fnum);
        return;
    }

    const QmxPlayListEntry entry = _allClipsPlayList.value(index);
    if (!entry.isValid()) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__, invalid, index);
        return;
    }
    qmxLogText(QmxLogLevel::Warning, mainObjectSource, __LINE__,
               QStringLiteral("Go to playlist index %1: %2").arg(QString::number(index), entry.name()));
    const bool playing = _vtr->state().mode().isInModePlay();
    setCurrentClip(entry.name());
    if (playing)
        _vtr->reopenPlaybackStream();
    else
        _vtr->still();
    _configUpdater->setCurrentPlayListIndex(index);
}

void MainObject::gotoClipByRelativeIndex(int delta)
{
    const int size = playListInUse().size();
    if (size == 0) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "Go to relative clip index %d: List is empty\n", delta);
        return;
    }
    const int current = findCurrentClipIndex();
    if (current == -1) {
        qmxLogOutput(QmxLogLevel::Error, mainObjectSource, __LINE__,
                     "Go to relative clip index %d: Failed to find current clip index\n", delta);
        return;
    }
    if (delta == -1) {
        const double speed = _vtr->state().speed();
        const bool pastFirstSecond = _vtr->currentFrameNumber() >= _vtr->currentTimecodeFrameRate();
        if ((pastFirstSecond && speed > 0.0) || size == 1) {
            _vtr->cue(0);
            if (speed > 0.0) _vtr->play(1.0);
            return;
        }
    }
    int target = current + delta;
    while (target < 0)
        target += size;
    while (target >= size)
        target -= size;
    gotoClipByIndex(target);
}
