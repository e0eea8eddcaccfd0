// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QString>

#include <optional>
#include <span>

/// One measured figure.
struct Figure
{
    QString name;
    double value = 0;
    QString unit;
    std::optional<double> peer;   ///< what it is measured against
    QString peerName;             ///< "ffmpeg prores_ks", "bound"
    std::optional<double> target; ///< greatest ratio to the peer (or value, without one) that holds

    double ratio() const { return peer && *peer != 0 ? value / *peer : 0; }
    bool holds() const { return !target || (peer ? ratio() : value) <= *target; }
};

/// One benchmark: a row of the table; gives one or several figures.
struct BenchRow
{
    const char *name;
    const char *help;
    QList<Figure> (*run)(int seconds);
};

std::span<const BenchRow> benchRows();

// recordbench.cpp
QList<Figure> benchRecord(int seconds);
QList<Figure> benchRecord50(int seconds);
QList<Figure> benchRecordUhd(int seconds);
QList<Figure> benchMirror(int seconds);
QList<Figure> benchRecordStart(int seconds);
// storebench.cpp
QList<Figure> benchStoreDelivery(int seconds);
QList<Figure> benchStoreBurst(int seconds);
QList<Figure> benchStoreRedis(int seconds);
QList<Figure> benchParameterToAction(int seconds);
QList<Figure> benchClipList(int seconds);
// fleetbench.cpp
QList<Figure> benchFleet(int seconds);
// clipbench.cpp
QList<Figure> benchLongClip(int seconds);
// exportbench.cpp
QList<Figure> benchExport(int seconds);
// verifybench.cpp
QList<Figure> benchVerify(int seconds);
// seekbench.cpp
QList<Figure> benchSeek(int seconds);
// stallbench.cpp
QList<Figure> benchStall(int seconds);
// mediabench.cpp
QList<Figure> benchMediumChange(int seconds);
QList<Figure> benchMediumCheck(int seconds);
// playbench.cpp
QList<Figure> benchCue(int seconds);
// fastplaybench.cpp
QList<Figure> benchFastPlay(int seconds);
// livebench.cpp
QList<Figure> benchLive(int seconds);
QList<Figure> benchLiveReaders(int seconds);
// remotebench.cpp
QList<Figure> benchRemote(int seconds);
// panelbench.cpp
QList<Figure> benchPanel(int seconds);
QList<Figure> benchPanelJpeg(int seconds);
QList<Figure> benchPanelClients(int seconds);
// monitorbench.cpp
QList<Figure> benchMonitoring(int seconds);
// prerecordbench.cpp
QList<Figure> benchPreRecord(int seconds);
// proresbench.cpp
QList<Figure> benchProRes(int seconds);
QList<Figure> benchProResLatency(int seconds);
// proresdecodebench.cpp
QList<Figure> benchProResDecode(int seconds);
// prorestargetbench.cpp
QList<Figure> benchProResTargets(int seconds);
