// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/product/clip.h"
#include "platform/qmx/core/qmxalarm.h"
#include "platform/qmx/core/qmxtimecode.h"
#include "platform/qmx/stream/qmxplaylist.h"
#include "xpd/app/connectiontable.h"

#include <QObject>
#include <QString>
#include <QVariant>

#include <list>
#include <memory>

class AlarmHandler;
class ClipFinder;
class ConfigInterface;
class ConfigUpdater;
class DebugServer;
class KeyboardTransport;
class MediaManager;
class QmxError;
class QmxId;
class QmxImageLut;
class QmxStreamInfo;
class QmxTimeStamp;
class QmxVbiInfo;
class QmxVideoDeviceSetup;
class QmxVideoState;
class VtrMode;
class VtrObject;
class VtrState;

/// The application: makes every long-lived object in a fixed order and wires them, turns changes of the
/// configuration into calls of the transport, answers what the transport asks, keeps the lists of clips
/// and moves a recording from one medium to the next.
///
/// Event loop only. The slots behind the transport's requests (those with a reference that is filled in)
/// are called directly and have answered when they return.
///
/// Sources: mainobject.cpp (construction, shutdown), and one file a concern: _commandline, _reactions
/// (a row a parameter), _transport (status and events of the transport), _clips, _streams (stream
/// descriptors, record inhibit), _rollover, _luts, _debug.
class MainObject : public QObject
{
    Q_OBJECT

public:
    /// Builds and starts everything, the transport included. `debug` adds the keyboard on the terminal and
    /// the debug server on TCP port 6502.
    explicit MainObject(bool debug, QObject *parent = nullptr);
    ~MainObject() override;

    /// The list that playback runs through, or would: the play list when that is chosen, else all clips.
    QmxPlayList playListInUse() const;
    /// Name of the current clip; empty when there is none.
    QString currentClip() const;
    void setCurrentClip(const QString &name);
    void gotoClipByName(const QString &name);
    void gotoClipByIndex(int index);
    /// Wraps around at both ends. -1 after more than a second of forward play goes to the start instead.
    void gotoClipByRelativeIndex(int delta);

signals:
    void alarmTriggered(const QmxAlarm &alarm);

public slots:
    /// Takes the transport down and waits for it, however long it needs; runs when the application quits.
    void shutdown();
    void vbi(const QmxVbiInfo &info);
    void transportRefreshed();
    void toggleMeta();
    void cameraRecord();
    void configParamChanged(quint32 id, const QVariant &value, const QmxTimeStamp &ts);
    void vtrStateChanged(const VtrState &oldState, const VtrState &newState);
    void vtrModeChanged(const VtrMode &oldMode, const VtrMode &newMode);
    void vtrInputFormatChanged(int inputNumber, const QmxVideoState &state);
    void vtrStreamIsOpen(const QmxError &err, const QmxStreamInfo &info);
    void vtrStreamIsClosed();
    void vtrRaiseVFRAlarm(bool state);
    /// Fills in the descriptor of a new record stream. A valid one is the clip name that the caller wants.
    void generateRecordStreamDesc(QVariant &streamDesc);
    void generatePlaybackStreamDesc(QVariant &streamDesc, int &fnum);
    void firmwareLoading(const QString &id, bool done);
    /// Overwrites `reason` only when the medium forbids a recording.
    void shouldInhibitRecord(QmxId &reason);
    void vtrVideoDeviceSetupChanged(const QmxVideoDeviceSetup &val);
    void startRollover();
    void checkForRolloverComplete();
    void finishRollover(bool success, const QString &activePath, const QString &rolloverPath);
    void stopRecordNow();
    void recordFailedToStart(QmxId &reason);
    void rolloverCompletedByMediaDaemon();
    void debugServerLineReceived(int fd, const QString &line);

private:
    struct Reactions;
    struct Options;

    QObject *party(ConnectionParty party) const;
    void makeConnections(ConnectionStage stage);
    void loadInitialState();
    void parseCommandLine();
    void startStatistics();

    void transportCommand(int command, const VtrState &state);
    void stopCommand(const VtrState &state);
    void mediaUpdated(const VtrState &state);
    void validateAudioChannels();
    void updateTransporterState(const VtrState &state);
    void sendAlarm(const QmxId &id, QmxAlarm::AlarmLevel level, const QString &text, int line);

    void updateAllClips();
    void updatePlayList();
    void setInitialClip();
    int findCurrentClipIndex() const;
    int findInitialFrame(const std::list<Clip> &clips, const QmxPlayList &playList);
    int addClip(std::list<Clip> &clips, QmxPlayList &playList, const QString &name);
    int addLastRecordedClip(const QString &name);

    void generateNormalRecordStreamDesc(QVariant &streamDesc);
    void generateRolloverRecordStreamDesc(QVariant &streamDesc);
    void loadLuts();
    bool parseLut(QmxImageLut &lut, const QString &path);

    std::unique_ptr<DebugServer> _debugServer; ///< only in debug mode
    KeyboardTransport *_kbtrans = nullptr;     ///< only in debug mode
    ConfigInterface *_config = nullptr;
    ConfigUpdater *_configUpdater = nullptr;
    AlarmHandler *_alarmHandler = nullptr; ///< null again after shutdown
    VtrObject *_vtr = nullptr;             ///< null again after shutdown
    std::unique_ptr<ClipFinder> _clipFinder;
    MediaManager *_mediaManager = nullptr;
    bool _logExtraParams = false;
    bool _insertMeta = false;
    int _playbackSource = 0; ///< 0 current clip, 1 all clips, 2 play list; other values as they came
    int _initialFrame = -1;  ///< where the next list playback starts, once; -1 none
    std::list<Clip> _allClips;
    std::list<Clip> _playListClips;
    QmxPlayList _allClipsPlayList;
    QmxPlayList _playList;
    QmxTimecode _timecode; ///< the generator's, last seen in play or record
    bool _rolloverClipClosed = false;
    bool _rolloverClipOpened = false;
    QString _pendingClipName; ///< of the rollover, published when the media daemon has taken note
    QString _reelName;        ///< for the clips of a rollover
};

/// A framework play list of `clips`, which lie under `path`.
QmxPlayList createPlayList(const QString &path, const std::list<Clip> &clips);
/// Position of the clip of that name, from 0; -1 when there is none.
int findClipFirstFrame(const std::list<Clip> &clips, const QString &name);
/// What the operator reads about a record-inhibit reason.
const char *getRecordInhibitedName(const QmxId &reason);
/// The file that a serialised file reference names; empty when there is none or it does not exist.
QString getLUTPath(const QByteArray &data);
