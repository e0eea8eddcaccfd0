// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/control/valuechecks.h"

#include "platform/control/access.h"
#include "platform/control/recorder.h"
#include "platform/control/transportanswers.h"
#include "platform/product/clipfinder.h"
#include "platform/product/lututils.h"
#include "platform/product/nominalrate.h"
#include "platform/qmx/core/qmxcounted.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxsamefilesystem.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstring>
#include <span>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <vector>

namespace {
constexpr auto noClip = "N/A";
constexpr auto listClips = "`xpctl clips` lists those there are";

std::optional<Answer> refused(const QString &sentence, const QString &advice)
{
    return Answer::refused(Cause::Argument, "wrong_argument", sentence, advice);
}

/// A folder where media are mounted, on a file system of its own: what else is one, /dev/shm say, is no place
/// for a take, and a file on a medium is none either.
bool isMedium(const Recorder &recorder, const QString &path)
{
    const QmxPlaces &places = *recorder.environment().places;
    if (!places.here(QDir::cleanPath(path)).startsWith(places.media + '/')) return false;
    struct statfs64 root = {};
    struct statfs64 medium = {};
    QmxFiles &files = *recorder.environment().files;
    const QString machine = QStringLiteral("/");
    struct stat64 folder = {};
    if (files.stat(path, &folder) != 0 || !S_ISDIR(folder.st_mode)) return false;
    return files.statfs(machine, &root) == 0 && files.statfs(path, &medium) == 0 &&
           !qmxSameFileSystem(files, machine, root, path, medium);
}

std::optional<Answer> anyMedium(Recorder &recorder, const StoreValue &value)
{
    const QString path = QString::fromStdString(value.text);
    if (path.isEmpty() || isMedium(recorder, path)) return {};
    return refused(QStringLiteral("there is no medium at %1").arg(path),
                   QStringLiteral("media are mounted below %1; `xpctl media` lists those there are")
                       .arg(recorder.environment().places->within(recorder.environment().places->media)));
}

std::optional<Answer> activeMedium(Recorder &recorder, const StoreValue &value)
{
    const QString now = recorder.text(eParam_ActiveMediaPath);
    if (recorder.daemonIsRunning() && isRecording(recorder) && now != QString::fromStdString(value.text))
        return Answer::refused(Cause::Deck, "take_runs",
                               QStringLiteral("a take is being recorded on %1").arg(now),
                               "choose another medium when it has ended: xpctl stop");
    return anyMedium(recorder, value);
}

std::optional<Answer> nextMedium(Recorder &recorder, const StoreValue &value)
{
    const QString path = QString::fromStdString(value.text);
    if (!path.isEmpty() && path == recorder.text(eParam_ActiveMediaPath))
        return refused(QStringLiteral("%1 is the medium that is recorded on").arg(path),
                       "the next one is another; `xpctl media` lists those there are");
    return anyMedium(recorder, value);
}

std::optional<Answer> mirrorMedium(Recorder &recorder, const StoreValue &value)
{
    const QString path = QString::fromStdString(value.text);
    const QString active = recorder.text(eParam_ActiveMediaPath);
    QmxFiles &files = *recorder.environment().files;
    struct statfs64 ofActive = {};
    struct statfs64 ofMirror = {};
    if (!path.isEmpty() && !active.isEmpty() && files.statfs(active, &ofActive) == 0 &&
        files.statfs(path, &ofMirror) == 0 && qmxSameFileSystem(files, active, ofActive, path, ofMirror))
        return refused(
            QStringLiteral("%1 is on the same medium as %2, which is recorded on").arg(path, active),
            "a second copy belongs on another medium; `xpctl media` lists those there are");
    return anyMedium(recorder, value);
}

std::optional<Answer> clips(Recorder &recorder, const StoreValue &value)
{
    for (const QString &name : QString::fromStdString(value.text).split('\n', Qt::SkipEmptyParts))
        if (name != QLatin1String(noClip) && !recorder.isClip(name))
            return refused(recorder.whyNoClip(name), listClips);
    return {};
}

std::optional<Answer> clipIndex(Recorder &recorder, const StoreValue &value)
{
    constexpr unsigned playList = 2;
    const bool isList = recorder.number(eParam_PlaybackSource) == playList;
    ClipFinder finder(&recorder.config());
    const qsizetype count = isList ? recorder.text(eParam_PlayList).split('\n', Qt::SkipEmptyParts).size()
                                   : qsizetype(finder.findClips(true, false, true).size());
    if (qsizetype(value.number) < count) return {};
    return refused(QStringLiteral("there is no clip %1 in the list").arg(value.number),
                   count > 0 ? QStringLiteral("places go from 0 to %1; `xpctl %2` shows them")
                                   .arg(count - 1)
                                   .arg(isList ? "list" : "clips")
                             : QStringLiteral("the list is empty"));
}

std::optional<Answer> cueFrame(Recorder &recorder, const StoreValue &value)
{
    return outsideMaterial(recorder, QString::number(value.number));
}

std::optional<Answer> cueTimecode(Recorder &recorder, const StoreValue &value)
{
    return value.text.empty() ? std::nullopt : outsideMaterial(recorder, QString::fromStdString(value.text));
}

/// A frame that a second of the input does not have: the generator would begin somewhere else.
std::optional<Answer> presetFrame(Recorder &recorder, const StoreValue &value)
{
    if (value.number <= GetDescriptor(eParam_TimecodePresetHour)->maximum()) return {};
    const auto format =
        recordedFormat(recorder.number(eParam_RecordCodec),
                       GetDescriptor(eParam_RecordFormat)->label(int(recorder.number(eParam_RecordFormat))));
    const int frame = QmxTimecode(int(value.number), 0, 0, 0, 0, 0).frames();
    const int frames = format ? format->frameRate().timecodeRate() : 0;
    if (frames == 0 || frame < frames) return {};
    return refused(QStringLiteral("a second of the input has no frame %1").arg(frame),
                   QStringLiteral("its frames go from 0 to %1").arg(frames - 1));
}

/// The daemon would raise an alarm, with less to say.
std::optional<Answer> table(Recorder &, const StoreValue &value)
{
    const std::string path = GetDescriptor(eParam_LutFile)->print(value); // (the value is a reference to it)
    if (path.empty()) return {};
    constexpr int entries = 1024;
    std::vector<short> runs(3 * entries);
    int count = 0;
    std::string error;
    short *const first = runs.data();
    if (!kel::utils::LUT_Utils::parse(path, first, first + entries, first + 2 * entries, entries, &count,
                                      error))
        return refused(QString::fromStdString(error), {});
    if (count == entries) return {};
    return refused(QStringLiteral("%1 has %2; a one-dimensional table needs %3")
                       .arg(QString::fromStdString(path), qmxCounted(count, "row"))
                       .arg(entries),
                   {});
}

struct Row
{
    eParam_t id;
    std::optional<Answer> (*why)(Recorder &recorder, const StoreValue &value);
};
constexpr Row rows[] = {
    {eParam_ActiveMediaPath, activeMedium},
    {eParam_RolloverMediaPath, nextMedium},
    {eParam_MirrorMediaPath, mirrorMedium},
    {eParam_PlayList, clips},
    {eParam_CurrentClip, clips},
    {eParam_GoToClipName, clips},
    {eParam_GoToClipIndex, clipIndex},
    {eParam_CueToFrame, cueFrame},
    {eParam_CueToTimecode, cueTimecode},
    {eParam_LutFile, table},
    {eParam_TimecodePresetHour, presetFrame},
};
} // namespace

std::optional<Answer> uselessValue(Recorder &recorder, const ParamDescriptor &descriptor,
                                   const StoreValue &value)
{
    for (const Row &row : rows)
        if (row.id == descriptor.id()) return row.why(recorder, value);
    return {};
}

Answer setParameter(Recorder &recorder, const ParamDescriptor &descriptor, const StoreValue &value,
                    bool force)
{
    if (const auto useless = force ? std::nullopt : uselessValue(recorder, descriptor, value))
        return *useless;
    if (!recorder.config().setValue(descriptor.id(), value))
        return storeError(Access::told(QString::fromStdString(recorder.config().lastError())));
    // The transport reads its list when it is told to.
    if (descriptor.id() == eParam_PlayList) recorder.write(eParam_PlayListChanged, 1U);
    return Answer::done();
}
