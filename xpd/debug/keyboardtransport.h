// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/qmx/core/qmxtimecode.h"
#include "xpd/transport/vtrstate.h"

#include <QObject>
#include <QString>

#include <termios.h>

/// Single keys on the daemon's terminal as transport commands, and one status line that is rewritten in
/// place. Puts standard input into a raw mode and back at the end.
///
/// Event loop only: a timer of 100 ms polls standard input, redraws and asks for fresh values
/// (`refreshed`). A key acts on the state given at the last refresh.
class KeyboardTransport : public QObject
{
    Q_OBJECT

public:
    explicit KeyboardTransport(QObject *parent);
    ~KeyboardTransport() override;

public slots:
    void setVtrState(const VtrState &state);
    void setStatus(const QString &status);
    void setCurrentTimecode(const QmxTimecode &timecode);

signals:
    /// After each redraw: the values for the next one are wanted.
    void refreshed();
    void quit();
    void play(double speed);
    void still();
    void fastfwd();
    void rewind();
    void step(int frames);
    void record();
    void toggleMeta();
    void cameraRecord();
    void standbyOff();

protected:
    void timerEvent(QTimerEvent *event) override;

private:
    struct Keys;
    void handleKey(char key);
    void redraw();

    VtrState _state;
    QmxTimecode _timecode;
    termios _savedTerminal = {};
    QString _lastLine;
    int _redraws = 0;
    QString _status;
};
