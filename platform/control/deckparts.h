// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/control/deckstate.h"
#include "platform/product/shmstring.h"
#include "platform/qmx/core/qmxcounters.h"
#include "platform/qmx/core/qmxenvironment.h"
#include "platform/qmx/core/qmxplaces.h"
#include "platform/qmx/core/qmxtakewindow.h"
#include "platform/store/config.h"

#include <map>
#include <span>

/// What the store said last of each parameter that the state is made of. A value; composing waits for nobody.
class DeckParameters
{
public:
    static bool concerns(eParam_t id);
    /// The speed of the playback that was asked for last, as the announcement of the last verb tells it,
    /// which stays behind. Waits for the store.
    static double speedAskedFor(Config &config);
    /// Reads all of them. Waits for the store.
    void load(Config &config);
    /// False when it was that already.
    bool set(eParam_t id, const StoreValue &value);
    /// A state with all that parameters tell; of a daemon that is there or not. `now` in ms since 1970 ends
    /// what has its end. Only what has changed is worked out anew.
    DeckState state(bool running, qint64 now);
    /// When the next owner or lock ends, ms since 1970; 0: none.
    qint64 nextEnd(qint64 now) const;

    unsigned number(eParam_t id) const;
    QString text(eParam_t id) const;
    QString label(eParam_t id) const;

private:
    /// A part of the state that depends on some parameters: a row of the table in deckparts.cpp.
    struct Part;
    static std::span<const Part> parts();
    static unsigned partsOf(eParam_t id);
    void changed(eParam_t id) { _stale |= partsOf(id); }

    void fillTransport();
    void fillFormats();
    void fillMedia();
    void fillRoom();
    void fillList();
    void fillAlarms();
    void fillControl(qint64 now);
    void marksChangedOf(const QString &clip);
    double speed() const;

    DeckState _made;
    unsigned _stale = ~0U; ///< a bit for each part that is to be made anew
    std::map<eParam_t, StoreValue> _values;
    std::map<eParam_t, QString> _since; ///< of alarms that are up, ISO date
    double _askedSpeed = 1;
    QJsonObject _marksChanged;
    int _markChanges = 0;
};

/// What shared memory says of a frame. One thread at a time.
class DeckMemory
{
public:
    /// Looks for the table of this daemon; again when it is another one.
    void attach(int daemonPid);
    void fill(DeckState &state);
    qint64 tick() const { return _counters.value(QStringLiteral("ticks")); }

private:
    void lookAtStart();

    QmxCountersReader _counters;
    QmxTakeWindow::Client _clock;
    qint64 _first = -1;    ///< index of the first frame that `_takeStart` is the moment of
    qint64 _takeStart = 0; ///< us since 1970
    ShmStringReader _timecode{QmxEnvironment::current().places->currentTimecode.toLatin1().constData()};
    ShmStringReader _inputTimecode{QmxEnvironment::current().places->inputTimecode.toLatin1().constData()};
    int _attached = 0;
};
